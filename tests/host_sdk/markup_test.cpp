// The XML document class the module builds and reads its messages with.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "oqdev_sim.h"
#include "oqdev_xml.h"

namespace {

const char kDecl[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const char kList[] = "<R><A>1</A><B>2</B><A>3</A><C x=\"7\"><D>4</D></C></R>";

// Parses `doc` and steps into its root R.
void Inside(CMarkupSTL &xml, const char *doc) {
    ASSERT_TRUE(xml.SetDoc(doc) && xml.FindElem("R") && xml.IntoElem()) << doc;
}

TEST(Markup, FindMovesForwardOrFromFirstAndKeepsThePositionOnFailure) {
    // A find, its result and the main element's text after it.
    struct Step {
        const char *name;
        bool fromFirst;
        bool found;
        const char *data;
    };
    const std::vector<std::vector<Step>> cases = {
        {{"A", false, true, "1"},
         {"A", false, true, "3"},
         {"A", false, false, "3"},
         {"A", true, true, "1"}},
        {{"B", false, true, "2"}, {"Z", false, false, "2"}, {"A", false, true, "3"}},
        {{"B", false, true, "2"}, {"B", false, false, "2"}, {"B", true, true, "2"}},
        {{"Z", false, false, ""}, {"A", false, true, "1"}},
        {{nullptr, false, true, "1"}, {"", false, true, "2"}, {nullptr, false, true, "3"}},
        {{"D", false, false, ""}, {"C", false, true, ""}},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        CMarkupSTL xml;
        Inside(xml, kList);
        for (const auto &[name, fromFirst, found, data] : cases[i]) {
            SCOPED_TRACE("case " + std::to_string(i) + " find " + (name ? name : "(any)"));
            EXPECT_EQ(xml.FindElem(name, fromFirst), found);
            EXPECT_EQ(xml.x_GetData(), data);
        }
    }
}

TEST(Markup, IntoAndOutOfElemMoveBetweenLevels) {
    CMarkupSTL xml;
    EXPECT_FALSE(xml.SetDoc(nullptr) || xml.IntoElem() || xml.OutOfElem()) << "empty document";
    Inside(xml, kList);
    EXPECT_FALSE(xml.IntoElem()) << "no main position yet";
    ASSERT_TRUE(xml.FindElem("C") && xml.IntoElem() && xml.FindElem("D") && xml.OutOfElem());
    EXPECT_EQ(xml.GetTagName(), "C") << "the element left is the main position";
    EXPECT_EQ(xml.x_GetAttrib("x"), "7");
    ASSERT_TRUE(xml.OutOfElem());
    EXPECT_EQ(xml.GetTagName(), "R");
    EXPECT_FALSE(xml.OutOfElem());
    xml.ResetPos();
    EXPECT_EQ(xml.GetTagName(), "");
}

TEST(Markup, AddGoesAfterTheMainPositionOrAtTheEnd) {
    CMarkupSTL xml;
    Inside(xml, "<R><A/><B/></R>");
    ASSERT_TRUE(xml.FindElem("A") && xml.x_AddElem("X", "1"));
    EXPECT_EQ(xml.GetTagName(), "X");
    ASSERT_TRUE(xml.x_AddElem("Y", 2) && xml.FindElem("B") && xml.IntoElem());
    ASSERT_TRUE(xml.x_AddElem("In") && xml.OutOfElem() && xml.OutOfElem() && xml.IntoElem());
    ASSERT_TRUE(xml.x_AddElem("End"));
    EXPECT_FALSE(xml.x_AddElem(nullptr) || xml.x_AddElem(""));
    EXPECT_EQ(xml.GetDoc(), "<R><A/><X>1</X><Y>2</Y><B><In/></B><End/></R>");
    xml.ResetPos();
    EXPECT_FALSE(xml.x_AddElem("Second")) << "a document has one root";
}

TEST(Markup, DeclarationOnlyDocumentStartsANewDocument) {
    for (const char *decl : {kDecl, "<?xml version='1.0'?>\r\n", "<?xml version=\"1.0\"?>"}) {
        SCOPED_TRACE(decl);
        CMarkupSTL xml;
        ASSERT_TRUE(xml.SetDoc(decl));
        EXPECT_EQ(xml.GetDoc(), decl);
        EXPECT_FALSE(xml.FindElem(nullptr));
        ASSERT_TRUE(xml.x_AddElem("Request") && xml.IntoElem() && xml.x_AddElem("Result", 0));
        EXPECT_EQ(xml.GetDoc(), std::string(decl) + "<Request><Result>0</Result></Request>");
    }
}

TEST(Markup, TextsAndAttributesAreEscapedAndRoundTrip) {
    const std::string nasty = "a<b>&c\"d'e\tf\ng";
    CMarkupSTL xml;
    ASSERT_TRUE(xml.SetDoc(kDecl) && xml.x_AddElem("R", nasty.c_str()));
    ASSERT_TRUE(xml.x_SetAttrib("v", nasty.c_str()) && xml.x_SetAttrib("n", -12));
    ASSERT_TRUE(xml.x_SetAttrib("n", 34)) << "replaces the value";
    const std::string doc = xml.GetDoc();
    EXPECT_EQ(doc, std::string(kDecl) +
                       "<R v=\"a&lt;b&gt;&amp;c&quot;d'e&#9;f&#10;g\" n=\"34\">"
                       "a&lt;b&gt;&amp;c\"d'e\tf\ng</R>");
    CMarkupSTL back(doc.c_str());
    ASSERT_TRUE(back.FindElem("R"));
    EXPECT_EQ(back.x_GetData(), nasty);
    EXPECT_EQ(back.x_GetAttrib("v"), nasty);
    EXPECT_EQ(back.x_GetAttrib("absent"), "");
    EXPECT_EQ(back.GetDoc(), doc);
}

// Blank texts survive a print; layout between elements and empty CDATA
// sections are no text; a text split by CDATA reads as one up to a child.
TEST(Markup, TextsPrintAndReadBackTheSame) {
    const struct {
        const char *doc;
        const char *printed;
        const char *textOfA;
    } cases[] = {
        {"<R>&#10;<A>&#32;&#9;</A></R>", "<R>&#10;<A>&#32;&#9;</A></R>", " \t"},
        {"<R>&#10;&#x30;</R>", "<R>\n0</R>", ""},
        {"<R>\n  <A/>\n</R>", "<R><A/></R>", ""},
        {"<R><A><![CDATA[]]></A></R>", "<R><A/></R>", ""},
        {"<R><A><![CDATA[]]><B/>x</A></R>", nullptr, "x"},
        {"<R>x<![CDATA[ ]]></R>", "<R>x </R>", ""},
        {"<R><A>{\"a\":<![CDATA[1}]]>&amp;<X/>tail</A></R>", nullptr, "{\"a\":1}&"},
    };
    for (const auto &[doc, printed, textOfA] : cases) {
        SCOPED_TRACE(doc);
        CMarkupSTL xml, back;
        Inside(xml, doc);
        Inside(back, xml.GetDoc().c_str());
        EXPECT_EQ(xml.GetDoc(), printed != nullptr ? printed : xml.GetDoc());
        EXPECT_EQ(back.GetDoc(), xml.GetDoc());
        for (CMarkupSTL *read : {&xml, &back}) {
            read->FindElem("A");
            EXPECT_EQ(read->x_GetData(), textOfA);
        }
    }
}

TEST(Markup, SetDataReplacesTheWholeTextOrClearsIt) {
    CMarkupSTL xml;
    Inside(xml, "<R><A>{<![CDATA[1]]>&amp;<X/>tail</A><B>0</B><C>0</C></R>");
    EXPECT_FALSE(xml.x_SetData("1")) << "no main position";
    ASSERT_TRUE(xml.FindElem("A") && xml.x_SetData(-7));
    EXPECT_EQ(xml.x_GetData(), "-7");
    ASSERT_TRUE(xml.FindElem("B") && xml.x_SetData(" \t") && xml.FindElem("C") &&
                xml.x_SetData(""));
    EXPECT_EQ(xml.GetDoc(), "<R><A>-7<X/>tail</A><B>&#32;&#9;</B><C/></R>");
}

TEST(Markup, MalformedTextIsRefusedAndLeavesAnEmptyDocument) {
    for (const char *text : {"", " \t ", "<a>", "garbage", "<a></b>", "<a/><b/>", "<a x=1/>",
                             "<a/>trailing", "<a>x&#0;y</a>", "<a x=\"&#X000;\"/>",
                             "<a x=\"1\" x=\"2\"/>", "<?xml version=\"1.0\"?> <a"}) {
        SCOPED_TRACE(text);
        CMarkupSTL xml(kList);
        EXPECT_FALSE(xml.SetDoc(text));
        EXPECT_EQ(xml.GetDoc(), "");
        EXPECT_FALSE(xml.FindElem(nullptr));
    }
}

// The SDK's request skeleton leaves the position inside Request.
TEST(Markup, LargeRequestsBuildInLinearTime) {
    CMarkupSTL xml;
    ASSERT_EQ(oqdev_xml_init_req(xml), 0);
    for (int i = 0; i < 200000; ++i) {
        ASSERT_TRUE(xml.x_AddElem("U", i));
    }
    const std::string doc = xml.GetDoc();
    EXPECT_EQ(doc.substr(0, sizeof kDecl + 16), std::string(kDecl) + "<Request><U>0</U>");
    EXPECT_EQ(doc.substr(doc.size() - 23), "<U>199999</U></Request>");
}

// XML allocations fail while `g_limit` blocks are live (never when negative).
// The module's allocation fault loops cover the failures of every other call.
std::atomic<int> g_live{0};
std::atomic<int> g_limit{-1};

void *LimitedAlloc(size_t size) {
    if (g_limit >= 0 && g_live >= g_limit) {
        return nullptr;
    }
    ++g_live;
    return std::malloc(size);
}

void CountedFree(void *p) {
    g_live -= p != nullptr ? 1 : 0;
    std::free(p);
}

// Memory can run out between an attribute and its name; an attribute the class
// reports as set always has its name, and the document stays readable.
TEST(Markup, AttributeWhoseNameCannotBeStoredIsNotAdded) {
    struct Hooks {  // installed while no document exists
        Hooks() { oqsim::xml_set_alloc_hooks(&LimitedAlloc, &CountedFree); }
        ~Hooks() {
            g_limit = -1;
            oqsim::xml_set_alloc_hooks(nullptr, nullptr);
        }
    } hooks;
    for (int limit = 1; limit < 4; ++limit) {
        SCOPED_TRACE(limit);
        g_limit = limit;
        CMarkupSTL xml;
        ASSERT_TRUE(oqdev_xml_init_req(xml) == 0 && xml.x_AddElem("E"));
        for (int i = 0; i < 5000; ++i) {
            const std::string name = "attribute_" + std::to_string(i);
            if (!xml.x_SetAttrib(name.c_str(), i)) {
                break;
            }
            ASSERT_EQ(xml.x_GetAttrib(name.c_str()), std::to_string(i));
        }
        g_limit = -1;
        const std::string doc = xml.GetDoc();
        EXPECT_TRUE(CMarkupSTL().SetDoc(doc.c_str())) << doc.substr(doc.size() - 80);
    }
}

// A chosen operation fails once and changes nothing; a throwing fault throws
// from any member, constructors included.
TEST(Markup, InjectedFaultsStrikeTheNthCallOfTheirKindOnce) {
    using oqsim::XmlFault;
    const struct {
        const char *name;
        XmlFault fault;
        long n;
        const char *doc;  // after the steps below
    } cases[] = {
        {"second add", XmlFault::kAdd, 2, "<R><A>1</A><C x=\"1\"/></R>"},
        {"first set (the parse)", XmlFault::kSet, 1, ""},
        {"second set (the attribute)", XmlFault::kSet, 2, "<R><A>1</A><B>2</B><C/></R>"},
        {"second find", XmlFault::kFind, 2, "<R><A>1</A><B>2</B><C x=\"1\"/></R>"},
        {"disarmed", XmlFault::kAdd, 0, "<R><A>1</A><B>2</B><C x=\"1\"/></R>"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        CMarkupSTL xml;
        oqsim::xml_fail_at(c.fault, c.n);
        if (xml.SetDoc("<R/>") && xml.FindElem("R") && xml.IntoElem()) {
            xml.x_AddElem("A", "1");
            xml.x_AddElem("B", "2");
            xml.x_AddElem("C");
            xml.x_SetAttrib("x", 1);
            EXPECT_EQ(xml.FindElem("C", true), c.fault != XmlFault::kFind);
        }
        EXPECT_EQ(oqsim::xml_fault_met(), c.n > 0);
        oqsim::xml_fail_at(c.fault, 0);
        EXPECT_EQ(xml.GetDoc(), c.doc);
    }
    for (long n = 1; n <= 4; ++n) {
        oqsim::xml_fail_at(XmlFault::kThrow, n);
        int reached = 0;
        try {
            CMarkupSTL xml;
            ++reached;
            xml.SetDoc("<R/>");
            ++reached;
            xml.FindElem("R");
            ++reached;
            (void)xml.GetDoc();
            ++reached;
        } catch (const std::bad_alloc &) {
        }
        EXPECT_EQ(reached, n - 1) << "call " << n;
    }
    oqsim::reset();
    EXPECT_FALSE(oqsim::xml_fault_met());
}

}  // namespace
