// The one way the module builds XML. The host's document class answers every
// add and set with a flag (false when its memory ran out); the writer keeps
// the first failure and skips every later step, so a builder writes its
// document straight through and checks Ok() once. A document that is not Ok()
// is never sent.
#ifndef NORLA_MESSAGING_XML_WRITER_H
#define NORLA_MESSAGING_XML_WRITER_H

#include <cstdint>

#include "CMarkupSTL.h"

namespace norla {

class DoorLock_XmlWriter {
  public:
    explicit DoorLock_XmlWriter(CMarkupSTL &xml) noexcept : m_xml(xml) {}
    DoorLock_XmlWriter(const DoorLock_XmlWriter &) = delete;
    DoorLock_XmlWriter &operator=(const DoorLock_XmlWriter &) = delete;

    // Replaces the whole document with `text` (a declaration, to build on).
    DoorLock_XmlWriter &Start(const char *text);
    // An element after the current one, empty or with text.
    DoorLock_XmlWriter &Elem(const char *name, const char *text = nullptr);
    DoorLock_XmlWriter &Elem(const char *name, int32_t value);
    // An attribute of the current element.
    DoorLock_XmlWriter &Attr(const char *name, const char *value);
    DoorLock_XmlWriter &Attr(const char *name, int32_t value);
    // The current element's text.
    DoorLock_XmlWriter &Data(const char *text);
    DoorLock_XmlWriter &Data(int32_t value);
    DoorLock_XmlWriter &Into();
    DoorLock_XmlWriter &Out();

    bool Ok() const noexcept { return m_bOk; }
    CMarkupSTL &Doc() noexcept { return m_xml; }

  private:
    DoorLock_XmlWriter &Note(bool ok) noexcept {
        m_bOk = ok;
        return *this;
    }

    CMarkupSTL &m_xml;
    bool m_bOk = true;
};

}  // namespace norla

#endif
