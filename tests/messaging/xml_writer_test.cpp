#include <string>

#include "CMarkupSTL.h"
#include "messaging/xml_writer.h"
#include "support/fixture.h"

namespace {

using XmlWriterTest = dltest::ModuleTest;

const std::string kDecl = "<?xml version=\"1.0\"?>\n";

// The first step the document refuses ends the writing: every later step is
// skipped, so what is there stays as it was and Ok() stays false.
TEST_F(XmlWriterTest, TheFirstFailureSkipsEveryLaterStep) {
    using oqsim::XmlFault;
    const struct {
        const char *name;
        XmlFault fault;
        long n;
        std::string doc;
    } cases[] = {
        {"none", XmlFault::kAdd, 0, "<Z/>"},
        {"the start", XmlFault::kSet, 1, ""},
        {"the root", XmlFault::kAdd, 1, kDecl},
        {"an attribute", XmlFault::kSet, 2, kDecl + "<R/>"},
        {"the text", XmlFault::kSet, 3, kDecl + "<R a=\"1\"/>"},
        {"an element", XmlFault::kAdd, 2, kDecl + "<R a=\"1\">7</R>"},
        {"its text", XmlFault::kSet, 4, kDecl + "<R a=\"1\">7<B/></R>"},
        {"an int text", XmlFault::kSet, 5, kDecl + "<R a=\"1\">7<B>x</B><C/></R>"},
        {"a new start", XmlFault::kSet, 6, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CMarkupSTL doc;
        norla::DoorLock_XmlWriter xml(doc);
        oqsim::xml_fail_at(c.fault, c.n);
        xml.Start(kDecl.c_str()).Elem("R").Attr("a", 1).Data(7).Into();
        xml.Elem("B").Data("x").Elem("C").Data(-3).Out().Start("<Z/>");
        oqsim::xml_fail_at(c.fault, 0);
        EXPECT_EQ(xml.Ok(), c.n == 0);
        EXPECT_EQ(doc.GetDoc(), c.doc);
    }
}

}  // namespace
