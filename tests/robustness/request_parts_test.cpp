// Every part of every request taken away in turn: each element removed, each
// attribute removed or left empty, each text emptied. Whatever is missing,
// the answer is one the contract lists, nothing is held afterwards and the
// next whole request is served as before.
#include <pugixml.hpp>

#include <sstream>
#include <string>
#include <vector>

#include "robustness/operations.h"
#include "support/fixture.h"

namespace robust {
namespace {

std::string Print(const pugi::xml_document &doc) {
    std::ostringstream out;
    doc.save(out, "", pugi::format_raw | pugi::format_no_declaration);
    return out.str();
}

// Every node below the root, in document order.
std::vector<pugi::xml_node> Parts(const pugi::xml_document &doc) {
    std::vector<pugi::xml_node> parts;
    for (pugi::xml_node node = doc.document_element().first_child(); node;) {
        parts.push_back(node);
        if (node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node && !node.next_sibling() && node.parent() != doc.document_element()) {
            node = node.parent();
        }
        node = node.next_sibling();
    }
    return parts;
}

// The request's text with the i-th mutation applied; false past the last.
bool Variant(const char *body, size_t index, std::string &text, std::string &what) {
    pugi::xml_document doc;
    doc.load_string(body);
    size_t n = 0;
    for (pugi::xml_node part : Parts(doc)) {
        if (part.type() == pugi::node_pcdata) {
            if (n++ == index) {
                what = std::string("empty text of ") + part.parent().name();
                part.parent().remove_child(part);
                text = Print(doc);
                return true;
            }
            continue;
        }
        if (n++ == index) {
            what = std::string("no element ") + part.name();
            part.parent().remove_child(part);
            text = Print(doc);
            return true;
        }
        for (pugi::xml_attribute attr : part.attributes()) {
            if (n++ == index) {
                what = std::string("no attribute ") + part.name() + "@" + attr.name();
                part.remove_attribute(attr);
                text = Print(doc);
                return true;
            }
            if (n++ == index) {
                what = std::string("empty attribute ") + part.name() + "@" + attr.name();
                attr.set_value("");
                text = Print(doc);
                return true;
            }
        }
    }
    return false;
}

bool Listed(const Operation &op, int result) {
    constexpr int kResultBadRequest = 3;
    for (int listed : op.results) {
        if (listed == result) {
            return true;
        }
    }
    return result == kResultBadRequest;
}

// The operations that take a request from the platform.
std::vector<Operation> TakingRequests() {
    std::vector<Operation> ops;
    for (const Operation &op : Operations()) {
        if (op.eKind == Kind::kCommand || op.eKind == Kind::kAnswer) {
            ops.push_back(op);
        }
    }
    return ops;
}

class RequestPartsLoop : public dltest::ModuleTest,
                         public ::testing::WithParamInterface<Operation> {};

TEST_P(RequestPartsLoop, AnyMissingPartIsAnsweredAsTheContractSays) {
    const Operation &op = GetParam();
    Prepare(op);
    RunOp(op);
    const Outcome cleanAgain = RunOp(op);

    std::string text;
    std::string what;
    for (size_t i = 0; Variant(op.pszBody, i, text, what); ++i) {
        SCOPED_TRACE(what + ": " + text);
        Operation variant = op;
        variant.pszBody = text.c_str();
        Prepare(op);
        const Outcome out = RunOp(variant);
        EXPECT_TRUE(out.bHeaderOk);
        EXPECT_TRUE(Listed(op, out.iResult)) << "result " << out.iResult;
        EXPECT_TRUE(NothingHeld());
        EXPECT_TRUE(SameAnswer(RunOp(op), cleanAgain)) << "the next whole request";
    }
}

INSTANTIATE_TEST_SUITE_P(Operations, RequestPartsLoop, ::testing::ValuesIn(TakingRequests()),
                         [](const ::testing::TestParamInfo<Operation> &param) {
                             return std::string(param.param.pszName);
                         });

}  // namespace
}  // namespace robust
