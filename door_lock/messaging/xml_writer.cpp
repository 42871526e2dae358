#include "messaging/xml_writer.h"

#include <charconv>

#include "vocabulary.h"

namespace norla {

namespace {

// Element text takes only text on every host; to_chars needs no locale.
struct IntText {
    explicit IntText(int32_t value) noexcept {
        *std::to_chars(szText, szText + sizeof szText - 1, value).ptr = '\0';
    }
    char szText[kIntTextLen];
};

}  // namespace

DoorLock_XmlWriter &DoorLock_XmlWriter::Start(const char *text) {
    return m_bOk ? Note(m_xml.SetDoc(text)) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Elem(const char *name, const char *text) {
    return m_bOk ? Note(m_xml.x_AddElem(name, text)) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Elem(const char *name, int32_t value) {
    return m_bOk ? Note(m_xml.x_AddElem(name, IntText(value).szText)) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Attr(const char *name, const char *value) {
    return m_bOk ? Note(m_xml.x_SetAttrib(name, value)) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Attr(const char *name, int32_t value) {
    return m_bOk ? Note(m_xml.x_SetAttrib(name, value)) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Data(const char *text) {
    return m_bOk ? Note(m_xml.x_SetData(text)) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Data(int32_t value) {
    return m_bOk ? Note(m_xml.x_SetData(IntText(value).szText)) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Into() {
    return m_bOk ? Note(m_xml.IntoElem()) : *this;
}

DoorLock_XmlWriter &DoorLock_XmlWriter::Out() {
    return m_bOk ? Note(m_xml.OutOfElem()) : *this;
}

}  // namespace norla
