// Runs the plan and snap password handlers on documents prepared as the
// request round trip prepares them, and reads their responses back.
#ifndef TESTS_HANDLERS_PLANS_HARNESS_H
#define TESTS_HANDLERS_PLANS_HARNESS_H

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CMarkupSTL.h"
#include "messaging/envelope.h"
#include "messaging/round_trip.h"
#include "support/fixture.h"

namespace plantest {

// The request is positioned inside Request on an appended UserDefine, the
// response inside Response on Result. Returns the response text.
inline std::string RunHandler(norla::DoorLock_ReqHandler handler, const std::string &body,
                              int *ret = nullptr) {
    CMarkupSTL req;
    CMarkupSTL rsp;
    norla::DoorLock_xml_init_rsp(rsp);
    EXPECT_TRUE(req.SetDoc(("<Request>" + body + "</Request>").c_str())) << body;
    req.FindElem("Request", true);
    req.IntoElem();
    req.x_AddElem("UserDefine");
    const int result = handler(req, rsp);
    if (ret != nullptr) {
        *ret = result;
    }
    return rsp.GetDoc();
}

// A document positioned inside its root element.
inline std::unique_ptr<CMarkupSTL> Inside(const std::string &doc) {
    auto xml = std::make_unique<CMarkupSTL>();
    EXPECT_TRUE(xml->SetDoc(doc.c_str())) << doc;
    xml->FindElem(nullptr, true);
    xml->IntoElem();
    return xml;
}

inline std::string ElemText(const std::string &doc, const char *name) {
    auto xml = Inside(doc);
    return xml->FindElem(name, true) ? xml->x_GetData() : "<missing>";
}

class HandlerTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
        InitModule();
    }
};

}  // namespace plantest

#endif
