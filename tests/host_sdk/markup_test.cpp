#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "oqdev_sim.h"
#include "oqdev_xml.h"

namespace {

const char kDecl[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const char kList[] = "<R><A>1</A><B>2</B><A>3</A><C x=\"7\"><D>4</D></C></R>";

CMarkupSTL *Inside(CMarkupSTL &xml, const char *doc) {
    EXPECT_TRUE(xml.SetDoc(doc));
    EXPECT_TRUE(xml.FindElem("R"));
    EXPECT_TRUE(xml.IntoElem());
    return &xml;
}

// Each step is a find (name, from-first) and the main element's text after it.
struct FindStep {
    const char *name;
    bool fromFirst;
    bool found;
    const char *data;
};

TEST(Markup, FindMovesForwardOrFromFirstAndKeepsThePositionOnFailure) {
    const std::vector<std::vector<FindStep>> cases = {
        {{"A", false, true, "1"}, {"A", false, true, "3"}, {"A", false, false, "3"}},
        {{"A", false, true, "1"}, {"A", false, true, "3"}, {"A", true, true, "1"}},
        {{"B", false, true, "2"}, {"Z", false, false, "2"}, {"A", false, true, "3"}},
        {{"B", false, true, "2"}, {"B", false, false, "2"}, {"B", true, true, "2"}},
        {{"Z", false, false, ""}, {"A", false, true, "1"}},
        {{nullptr, false, true, "1"}, {"", false, true, "2"}, {nullptr, false, true, "3"}},
        {{"D", false, false, ""}, {"C", false, true, ""}},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        CMarkupSTL xml;
        Inside(xml, kList);
        for (const FindStep &step : cases[i]) {
            SCOPED_TRACE("case " + std::to_string(i) + " find " +
                         (step.name ? step.name : "(any)"));
            EXPECT_EQ(xml.FindElem(step.name, step.fromFirst), step.found);
            EXPECT_EQ(xml.x_GetData(), step.data);
        }
    }
}

TEST(Markup, IntoAndOutOfElem) {
    CMarkupSTL xml;
    EXPECT_FALSE(xml.IntoElem());
    EXPECT_FALSE(xml.OutOfElem());
    Inside(xml, kList);
    EXPECT_FALSE(xml.IntoElem()) << "no main position yet";
    ASSERT_TRUE(xml.FindElem("C"));
    EXPECT_EQ(xml.x_GetAttrib("x"), "7");
    ASSERT_TRUE(xml.IntoElem());
    EXPECT_TRUE(xml.FindElem("D"));
    EXPECT_EQ(xml.x_GetData(), "4");
    ASSERT_TRUE(xml.OutOfElem());
    EXPECT_EQ(xml.GetTagName(), "C") << "the element left is the main position";
    EXPECT_FALSE(xml.FindElem(nullptr));
    ASSERT_TRUE(xml.OutOfElem());
    EXPECT_EQ(xml.GetTagName(), "R");
    EXPECT_FALSE(xml.OutOfElem());
    xml.ResetPos();
    EXPECT_EQ(xml.GetTagName(), "");
    EXPECT_TRUE(xml.FindElem("R"));
}

TEST(Markup, AddGoesAfterTheMainPositionOrAtTheEnd) {
    CMarkupSTL xml;
    Inside(xml, "<R><A/><B/></R>");
    ASSERT_TRUE(xml.FindElem("A"));
    ASSERT_TRUE(xml.x_AddElem("X", "1"));
    EXPECT_EQ(xml.GetTagName(), "X");
    ASSERT_TRUE(xml.x_AddElem("Y", 2));
    ASSERT_TRUE(xml.FindElem("B"));
    ASSERT_TRUE(xml.IntoElem());
    ASSERT_TRUE(xml.x_AddElem("In"));
    ASSERT_TRUE(xml.OutOfElem());
    xml.ResetPos();
    ASSERT_TRUE(xml.FindElem("R"));
    ASSERT_TRUE(xml.IntoElem());
    ASSERT_TRUE(xml.x_AddElem("End"));
    EXPECT_EQ(xml.GetDoc(), "<R><A/><X>1</X><Y>2</Y><B><In/></B><End/></R>");
    xml.ResetPos();
    EXPECT_FALSE(xml.x_AddElem("Second")) << "a document has one root";
    EXPECT_FALSE(xml.x_AddElem(nullptr));
    EXPECT_FALSE(xml.x_AddElem(""));
}

TEST(Markup, DeclarationOnlyDocumentStartsANewDocument) {
    for (const char *decl : {kDecl, "<?xml version='1.0'?>\r\n", "<?xml version=\"1.0\"?>"}) {
        SCOPED_TRACE(decl);
        CMarkupSTL xml;
        ASSERT_TRUE(xml.SetDoc(decl));
        EXPECT_EQ(xml.GetDoc(), decl);
        EXPECT_FALSE(xml.FindElem(nullptr));
        ASSERT_TRUE(xml.x_AddElem("Request"));
        ASSERT_TRUE(xml.IntoElem());
        ASSERT_TRUE(xml.x_AddElem("Result", 0));
        EXPECT_EQ(xml.GetDoc(), std::string(decl) + "<Request><Result>0</Result></Request>");
    }
}

TEST(Markup, SdkRequestSkeletonLeavesThePositionInsideRequest) {
    CMarkupSTL xml;
    EXPECT_EQ(oqdev_xml_init_req(xml), 0);
    ASSERT_TRUE(xml.x_AddElem("Authorization"));
    EXPECT_EQ(xml.GetDoc(), std::string(kDecl) + "<Request><Authorization/></Request>");
}

TEST(Markup, TextsAndAttributesAreEscapedAndRoundTrip) {
    const std::string nasty = "a<b>&c\"d'e\tf\ng";
    CMarkupSTL xml;
    ASSERT_TRUE(xml.SetDoc(kDecl));
    ASSERT_TRUE(xml.x_AddElem("R", nasty.c_str()));
    ASSERT_TRUE(xml.x_SetAttrib("v", nasty.c_str()));
    ASSERT_TRUE(xml.x_SetAttrib("n", -12));
    ASSERT_TRUE(xml.x_SetAttrib("n", 34)) << "replaces the value";
    const std::string doc = xml.GetDoc();
    EXPECT_EQ(doc, std::string(kDecl) +
                       "<R v=\"a&lt;b&gt;&amp;c&quot;d'e&#9;f&#10;g\" n=\"34\">"
                       "a&lt;b&gt;&amp;c\"d'e\tf\ng</R>");
    CMarkupSTL back;
    ASSERT_TRUE(back.SetDoc(doc.c_str()));
    ASSERT_TRUE(back.FindElem("R"));
    EXPECT_EQ(back.x_GetData(), nasty);
    EXPECT_EQ(back.x_GetAttrib("v"), nasty);
    EXPECT_EQ(back.x_GetAttrib("n"), "34");
    EXPECT_EQ(back.x_GetAttrib("absent"), "");
    EXPECT_EQ(back.GetDoc(), doc);
}

TEST(Markup, SetDataReplacesOrClearsTheText) {
    CMarkupSTL xml;
    Inside(xml, "<R><Result>0</Result></R>");
    EXPECT_FALSE(xml.x_SetData("1")) << "no main position";
    ASSERT_TRUE(xml.FindElem("Result"));
    ASSERT_TRUE(xml.x_SetData(-5));
    EXPECT_EQ(xml.x_GetData(), "-5");
    ASSERT_TRUE(xml.x_SetData(""));
    EXPECT_EQ(xml.GetDoc(), "<R><Result/></R>");
}

TEST(Markup, BlankTextSurvivesAPrint) {
    CMarkupSTL xml;
    Inside(xml, "<R>&#10;<A/></R>");
    ASSERT_TRUE(xml.FindElem("A"));
    ASSERT_TRUE(xml.x_SetData(" \t"));
    const std::string printed = xml.GetDoc();
    EXPECT_EQ(printed, "<R>&#10;<A>&#32;&#9;</A></R>");
    CMarkupSTL back;
    Inside(back, printed.c_str());
    EXPECT_EQ(back.x_GetData(), "") << "no main position yet";
    ASSERT_TRUE(back.FindElem("A"));
    EXPECT_EQ(back.x_GetData(), " \t");
    EXPECT_EQ(back.GetDoc(), printed);
    Inside(back, "<R>&#10;&#x30;</R>");
    EXPECT_EQ(back.GetDoc(), "<R>\n0</R>") << "references to allowed characters";
    Inside(back, "<R><A><![CDATA[]]></A></R>");
    EXPECT_EQ(back.GetDoc(), "<R><A/></R>") << "an empty CDATA section is no content";
    Inside(back, "<R><A><![CDATA[]]><B/>x</A></R>");
    ASSERT_TRUE(back.FindElem("A"));
    EXPECT_EQ(back.x_GetData(), "x") << "nor does it start the text";
    Inside(back, "<R>x<![CDATA[ ]]></R>");
    EXPECT_EQ(back.GetDoc(), "<R>x </R>") << "only a text that is blank as a whole";
    CMarkupSTL layout;
    Inside(layout, "<R>\n  <A/>\n</R>");
    EXPECT_EQ(layout.GetDoc(), "<R><A/></R>") << "layout between elements is no text";
}

TEST(Markup, TextSplitByCdataReadsAsOneAndIsReplacedAsOne) {
    CMarkupSTL xml;
    Inside(xml, "<R><V>{\"a\":<![CDATA[1}]]>&amp;<X/>tail</V></R>");
    ASSERT_TRUE(xml.FindElem("V"));
    EXPECT_EQ(xml.x_GetData(), "{\"a\":1}&") << "stops at the child element";
    const std::string printed = xml.GetDoc();
    CMarkupSTL back;
    Inside(back, printed.c_str());
    ASSERT_TRUE(back.FindElem("V"));
    EXPECT_EQ(back.x_GetData(), xml.x_GetData());
    ASSERT_TRUE(xml.x_SetData("7"));
    EXPECT_EQ(xml.x_GetData(), "7");
    EXPECT_EQ(xml.GetDoc(), "<R><V>7<X/>tail</V></R>");
}

TEST(Markup, MalformedTextIsRefusedAndLeavesAnEmptyDocument) {
    const char *bad[] = {nullptr,
                         "",
                         "  \n",
                         "garbage",
                         "<a>",
                         "<a></b>",
                         "<a/><b/>",
                         "<a/>trailing",
                         "<?xml version=\"1.0\"?>\n<a",
                         "<a x=1/>",
                         "<a x=\"1\" x=\"2\"/>",
                         "<a>x&#0;y</a>",
                         "<a x=\"&#X000;\"/>"};
    for (const char *text : bad) {
        SCOPED_TRACE(text ? text : "(null)");
        CMarkupSTL xml(kList);
        EXPECT_FALSE(xml.SetDoc(text));
        EXPECT_EQ(xml.GetDoc(), "");
        EXPECT_FALSE(xml.FindElem(nullptr));
    }
}

TEST(Markup, LargeDocumentsBuildInLinearTime) {
    constexpr int kElements = 200000;
    CMarkupSTL xml;
    oqdev_xml_init_req(xml);
    for (int i = 0; i < kElements; ++i) {
        ASSERT_TRUE(xml.x_AddElem("U", i));
    }
    const std::string doc = xml.GetDoc();
    EXPECT_EQ(doc.rfind("<U>199999</U></Request>"), doc.size() - 23);
}

std::atomic<int> g_xmlAllocs{0};
std::atomic<int> g_xmlFailAfter{-1};

void *CountingAlloc(size_t size) {
    if (g_xmlFailAfter.load() >= 0 && g_xmlAllocs.load() >= g_xmlFailAfter.load()) {
        return nullptr;
    }
    ++g_xmlAllocs;
    return std::malloc(size);
}

void CountingFree(void *p) {
    if (p != nullptr) {
        --g_xmlAllocs;
    }
    std::free(p);
}

TEST(Markup, AllocationFailuresBecomeFalseAndLeakNothing) {
    oqsim::xml_set_alloc_hooks(&CountingAlloc, &CountingFree);
    for (int budget = 0; budget < 4; ++budget) {
        SCOPED_TRACE(budget);
        g_xmlAllocs = 0;
        g_xmlFailAfter = budget;
        {
            CMarkupSTL xml;
            bool ok = xml.SetDoc(kList);
            for (int i = 0; ok && i < 2000; ++i) {
                ok = xml.x_AddElem("Long element name to exhaust the page", i);
            }
            EXPECT_FALSE(ok);
            EXPECT_EQ(xml.x_GetAttrib("x"), "");
        }
        EXPECT_EQ(g_xmlAllocs.load(), 0);
    }
    g_xmlFailAfter = -1;
    oqsim::xml_set_alloc_hooks(nullptr, nullptr);
}

// Memory can run out between an attribute and its name; an attribute the class
// reports as set always has its name, and the document stays readable.
TEST(Markup, AttributeWhoseNameCannotBeStoredIsNotAdded) {
    oqsim::xml_set_alloc_hooks(&CountingAlloc, &CountingFree);
    for (int budget = 1; budget < 4; ++budget) {
        SCOPED_TRACE(budget);
        g_xmlAllocs = 0;
        g_xmlFailAfter = budget;
        std::string doc;
        {
            CMarkupSTL xml;
            oqdev_xml_init_req(xml);
            ASSERT_TRUE(xml.x_AddElem("E"));
            for (int i = 0; i < 5000; ++i) {
                const std::string name = "attribute_" + std::to_string(i);
                if (!xml.x_SetAttrib(name.c_str(), i)) {
                    break;
                }
                ASSERT_EQ(xml.x_GetAttrib(name.c_str()), std::to_string(i));
            }
            g_xmlFailAfter = -1;
            doc = xml.GetDoc();
        }
        CMarkupSTL again;
        EXPECT_TRUE(again.SetDoc(doc.c_str())) << doc.substr(doc.size() - 80);
    }
    g_xmlFailAfter = -1;
    oqsim::xml_set_alloc_hooks(nullptr, nullptr);
}

}  // namespace
