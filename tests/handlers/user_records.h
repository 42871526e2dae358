// User tables as the fake device serves them, and the user list of a message
// read back attribute by attribute.
#ifndef TESTS_HANDLERS_USER_RECORDS_H
#define TESTS_HANDLERS_USER_RECORDS_H

#include <cstdio>
#include <cstring>
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

inline Attrs ReadAttrs(const CMarkupSTL &xml, std::initializer_list<const char *> names) {
    Attrs attrs;
    for (const char *name : names) {
        attrs[name] = xml.x_GetAttrib(name);
    }
    return attrs;
}

inline XmlUser ReadUser(CMarkupSTL &xml) {
    XmlUser u;
    xml.IntoElem();
    xml.FindElem("User", true);
    u.user = ReadAttrs(xml, {"Index", "Type", "Name", "RemarkName"});
    xml.FindElem("Expire", true);
    u.expire = ReadAttrs(xml, {"Enable", "Begin", "End"});
    xml.IntoElem();
    xml.FindElem("DateList", true);
    xml.IntoElem();
    while (xml.FindElem("Date")) {
        u.dates.push_back(ReadAttrs(xml, {"Begin", "End", "Weekday", "Num", "Available"}));
    }
    xml.OutOfElem();
    xml.OutOfElem();
    xml.FindElem("Auth", true);
    u.auth = ReadAttrs(xml, {"Pwd", "Card", "Finger", "Face"});
    xml.OutOfElem();
    return u;
}

inline XmlMessage ReadMessage(const std::string &body) {
    XmlMessage msg;
    CMarkupSTL xml;
    if (!xml.SetDoc(body.c_str()) || !xml.FindElem(nullptr) || !xml.IntoElem()) {
        return msg;
    }
    while (xml.FindElem(nullptr)) {
        msg.tags.push_back(xml.GetTagName());
        if (xml.GetTagName() == "UserInfo") {
            msg.users.push_back(ReadUser(xml));
        } else {
            msg.texts[xml.GetTagName()] = xml.x_GetData();
        }
    }
    return msg;
}

// User i of a table: every field derived from i; `dates` slots in use, the
// first of them without a use limit.
inline oqDevSDK_DoorLock_User_S MakeUser(unsigned int i, unsigned int dates) {
    oqDevSDK_DoorLock_User_S u;
    std::memset(&u, 0, sizeof u);
    u.usIndex = static_cast<uint16_t>(i);
    u.ucType = static_cast<uint8_t>(i % 3);
    u.ucExpireEnable = 1;
    std::snprintf(u.szName, sizeof u.szName, "user%u", i);
    std::snprintf(u.szRemarkName, sizeof u.szRemarkName, "remark%u", i);
    u.uiBeginTime = 1615104300;  // 2021-03-07 08:05:00 UTC
    u.uiEndTime = 1640995200;    // 2022-01-01 00:00:00 UTC
    u.usDateNum = static_cast<uint16_t>(dates);
    for (unsigned int d = 0; d < OQDEVSDK_DOORLOCK_MAX_USER_DATES; ++d) {
        const int32_t num = d == 0 ? -1 : static_cast<int32_t>(d);
        u.astDate[d] = {8, static_cast<int32_t>(d), 18, 30, 0x43, {}, num, 7};
    }
    u.usPwdNum = 1;
    u.usCardNum = 2;
    u.usFingerNum = 3;
    u.usFaceNum = static_cast<uint16_t>(i);
    return u;
}

inline std::unique_ptr<oqDevSDK_DoorLock_UserInfo_S> MakeTable(unsigned int users,
                                                               unsigned int dates = 0) {
    auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
    std::memset(table.get(), 0, sizeof *table);
    table->usUserNum = static_cast<uint16_t>(users);
    for (unsigned int i = 0; i < users && i < OQDEVSDK_DOORLOCK_MAX_USERS; ++i) {
        table->astUser[i] = MakeUser(i, dates);
    }
    return table;
}

}  // namespace usertest

#endif
