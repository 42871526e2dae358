// User tables as the fake device serves them, and the user list of a message
// read back attribute by attribute.
#ifndef TESTS_HANDLERS_USER_RECORDS_H
#define TESTS_HANDLERS_USER_RECORDS_H

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "oqDevSDK_door_lock.h"

namespace usertest {

using Attrs = std::map<std::string, std::string>;

struct XmlUser {
    Attrs user;
    Attrs expire;
    std::vector<Attrs> dates;
    Attrs auth;
};

// The root's children: texts of the single elements, users in order.
struct XmlMessage {
    std::vector<std::string> tags;
    std::map<std::string, std::string> texts;
    std::vector<XmlUser> users;
};

// Attributes of the first child `elem` of the current element, or of the
// main position when `elem` is null.
inline Attrs ReadAttrs(CMarkupSTL &xml, const char *elem,
                       std::initializer_list<const char *> names) {
    Attrs attrs;
    if (elem != nullptr) {
        xml.FindElem(elem, true);
    }
    for (const char *name : names) {
        attrs[name] = xml.x_GetAttrib(name);
    }
    return attrs;
}

inline XmlMessage ReadMessage(const std::string &body) {
    XmlMessage msg;
    CMarkupSTL xml;
    if (!xml.SetDoc(body.c_str()) || !xml.FindElem(nullptr) || !xml.IntoElem()) {
        return msg;
    }
    while (xml.FindElem(nullptr)) {
        msg.tags.push_back(xml.GetTagName());
        if (xml.GetTagName() != "UserInfo") {
            msg.texts[xml.GetTagName()] = xml.x_GetData();
            continue;
        }
        XmlUser u;
        xml.IntoElem();
        u.user = ReadAttrs(xml, "User", {"Index", "Type", "Name", "RemarkName"});
        u.expire = ReadAttrs(xml, "Expire", {"Enable", "Begin", "End"});
        xml.IntoElem();
        xml.FindElem("DateList", true);
        xml.IntoElem();
        while (xml.FindElem("Date")) {
            u.dates.push_back(
                ReadAttrs(xml, nullptr, {"Begin", "End", "Weekday", "Num", "Available"}));
        }
        xml.OutOfElem();
        xml.OutOfElem();
        u.auth = ReadAttrs(xml, "Auth", {"Pwd", "Card", "Finger", "Face"});
        xml.OutOfElem();
        msg.users.push_back(u);
    }
    return msg;
}

// A table of `users` users, every field derived from the user's slot; `dates`
// slots in use, the first of them without a use limit.
inline std::unique_ptr<oqDevSDK_DoorLock_UserInfo_S> MakeTable(unsigned int users,
                                                               unsigned int dates = 0) {
    auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
    table->usUserNum = static_cast<uint16_t>(users);
    for (unsigned int i = 0; i < users && i < OQDEVSDK_DOORLOCK_MAX_USERS; ++i) {
        oqDevSDK_DoorLock_User_S &u = table->astUser[i];
        u.usIndex = static_cast<uint16_t>(i);
        u.ucType = static_cast<uint8_t>(i % 3);
        u.ucExpireEnable = 1;
        std::snprintf(u.szName, sizeof u.szName, "user%u", i);
        std::snprintf(u.szRemarkName, sizeof u.szRemarkName, "remark%u", i);
        u.uiBeginTime = 1615104300;  // 2021-03-07 08:05:00 UTC
        u.uiEndTime = 1640995200;    // 2022-01-01 00:00:00 UTC
        u.usDateNum = static_cast<uint16_t>(dates);
        for (int32_t d = 0; d < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++d) {
            u.astDate[d] = {8, d, 18, 30, 0x43, {}, d == 0 ? -1 : d, 7};
        }
        u.usPwdNum = 1;
        u.usCardNum = 2;
        u.usFingerNum = 3;
        u.usFaceNum = static_cast<uint16_t>(i);
    }
    return table;
}

}  // namespace usertest

#endif
