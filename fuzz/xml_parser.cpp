// The XML document class: whatever it accepts must print as a document that
// parses back to the same tree, and any text set as data or attribute must
// read back unchanged after a print and parse.
// The input is the document text; after a zero byte comes a value text for
// the data and attribute round trip.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "CMarkupSTL.h"
#include "harness.h"

namespace {

constexpr size_t kMaxWalkedElements = 4096;
// Attribute names the module reads; the walk records their values.
constexpr const char *kAttributes[] = {"Type", "Index", "Name", "Enable", "Begin", "End"};

// Element names, texts and listed attributes in document order, with the
// depth changes, so that two trees can be compared as texts.
std::string Walk(CMarkupSTL &doc) {
    std::string out;
    doc.ResetPos();
    for (size_t walked = 0, depth = 0; walked < kMaxWalkedElements;) {
        if (doc.FindElem(nullptr)) {
            ++walked;
            ++depth;
            out += '<' + doc.GetTagName() + '|' + doc.x_GetData();
            for (const char *name : kAttributes) {
                out += '|' + doc.x_GetAttrib(name);
            }
            doc.IntoElem();
        } else if (depth-- == 0 || !doc.OutOfElem()) {
            break;
        } else {
            out += '>';
        }
    }
    return out;
}

void CheckDocument(const std::string &text) {
    CMarkupSTL doc;
    if (!doc.SetDoc(text.c_str())) {
        if (!doc.GetDoc().empty()) {
            fuzz::Fail("a refused text leaves a document behind", text);
        }
        return;
    }
    const std::string printed = doc.GetDoc();
    CMarkupSTL again;
    if (!again.SetDoc(printed.c_str()) || again.GetDoc() != printed) {
        fuzz::Fail("a printed document does not parse, or prints otherwise",
                   printed + "\n" + again.GetDoc());
    }
    if (Walk(doc) != Walk(again)) {
        fuzz::Fail("the printed document holds another tree", printed);
    }
}

void CheckValue(const std::string &value) {
    CMarkupSTL doc;
    if (!doc.SetDoc("<?xml version=\"1.0\"?>\n") || !doc.x_AddElem("Root") || !doc.IntoElem() ||
        !doc.x_AddElem("Item") || !doc.x_SetData(value.c_str()) ||
        !doc.x_SetAttrib("Name", value.c_str())) {
        fuzz::Fail("building a document failed", value);
    }
    const std::string printed = doc.GetDoc();
    CMarkupSTL again;
    if (!again.SetDoc(printed.c_str()) || !again.FindElem("Root") || !again.IntoElem() ||
        !again.FindElem("Item")) {
        fuzz::Fail("a document with a set value does not parse", printed);
    }
    if (again.x_GetAttrib("Name") != value || again.x_GetData() != value) {
        fuzz::Fail("an attribute value or element text changed on its way through a print",
                   printed);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const char *text = reinterpret_cast<const char *>(data);
    const size_t docLen = strnlen(text, size);
    CheckDocument(std::string(text, docLen));
    if (docLen < size) {
        CheckValue(std::string(text + docLen + 1, strnlen(text + docLen + 1, size - docLen - 1)));
    }
    return 0;
}
