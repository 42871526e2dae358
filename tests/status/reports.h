// A report read back as compact text: its envelope checked, a Status element
// as "Type:Value" with the value parsed as JSON and printed back unformatted,
// anything else as its XML.
#ifndef TESTS_STATUS_REPORTS_H
#define TESTS_STATUS_REPORTS_H

#include <cjson/cJSON.h>

#include <string>

#include "CMarkupSTL.h"
#include "oqdev_sim.h"

namespace statustest {

inline std::string Payload(const oqsim::Sent &sent) {
    const std::string head = "<Request><DevSerial>SIMLOCK0001</DevSerial><Authorization/>";
    const size_t at = sent.body.find(head);
    if (at == std::string::npos || sent.rec.ucIsResponse != 0 || sent.version != "v1.0.0") {
        return "bad envelope: " + sent.body;
    }
    CMarkupSTL xml(sent.body.c_str());
    if (!xml.FindElem("Request") || !xml.IntoElem() || !xml.FindElem("Authorization") ||
        !xml.FindElem("Status")) {
        return sent.body.substr(at + head.size(),
                                sent.body.size() - at - head.size() - (sizeof "</Request>" - 1));
    }
    cJSON *json = cJSON_Parse(xml.x_GetAttrib("Value").c_str());
    char *text = cJSON_PrintUnformatted(json);
    const std::string out = xml.x_GetAttrib("Type") + ":" + (text != nullptr ? text : "not JSON");
    cJSON_free(text);
    cJSON_Delete(json);
    return out;
}

}  // namespace statustest

#endif
