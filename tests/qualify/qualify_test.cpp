// The qualification's own parts: a device that misbehaves in the calls the
// harness isolates, the record rules, the verdicts and the JSON report.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "checks.h"
#include "device_library.h"
#include "findings.h"
#include "harness.h"
#include "units.h"

namespace qualify {
namespace {

// A lock that answers every record with zeros, except one misbehaviour per
// from-device type code.
int FakeRecv(oqDevSDK_DoorLock_Msg_S *) {
    return 0;
}

int FakeGet(oqDevSDK_DoorLock_Msg_S *msg) {
    auto *bytes = static_cast<uint8_t *>(msg->pData);
    switch (msg->iType) {
        case OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE:
            std::memset(bytes, 0, msg->uiLen + 1);
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE:
            bytes[-1] = 1;
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE:
            std::abort();
        case OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS:
            _exit(7);
        case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS:
            std::this_thread::sleep_for(std::chrono::seconds{30});
            return 0;
        case OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH:
            return 0;  // keeps the index it was asked for
        default:
            std::memset(bytes, 0, msg->uiLen);
            return 0;
    }
}

oqDevSDK_DoorLock_Callback_S FakeEntry() {
    return {&FakeRecv, &FakeGet};
}

struct Captured {
    Findings findings;
    std::string text;
};

std::unique_ptr<Captured> Qualify(const Unit &unit) {
    auto out = std::make_unique<Captured>();
    devlib::DeviceLibrary lib;
    lib.path = "fake";
    lib.entry = &FakeEntry;
    Options options;
    options.hang = milliseconds{300};
    RunUnit(unit, lib, options, &out->findings);
    char *buffer = nullptr;
    size_t size = 0;
    FILE *mem = open_memstream(&buffer, &size);
    out->findings.PrintText(mem, "fake", 200);
    std::fclose(mem);
    out->text.assign(buffer, size);
    std::free(buffer);
    return out;
}

TEST(Harness, EachMisbehaviourBecomesAFindingForItsTypeCode) {
    const auto run = Qualify(Unit{"bounds", &RunBounds});
    struct Case {
        const char *what;
        const char *line;
    };
    const Case cases[] = {
        {"one byte past",
         "from device  1  fingerprint store        FAIL\n"
         "    [bounds] wrote past the end of its 4-byte record (fault at byte 4); the call "
         "crashed\n"},
        {"one byte before",
         "from device  2  bell tone                FAIL\n"
         "    [bounds] wrote before the start of its 4-byte record\n"},
        {"abort",
         "from device  3  prompt tone              FAIL\n"
         "    [bounds] crashed with SIGABRT in Get_Runtime_Info (its record: 4-byte record)\n"},
        {"exit",
         "from device  4  lock status              FAIL\n"
         "    [bounds] ended the process (exit status 7) in Get_Runtime_Info\n"},
        {"hang",
         "from device  9  power status             FAIL\n"
         "    [bounds] did not return within 300 ms; the call was abandoned\n"},
        {"the others", "from device 11  auto face unlock plan    ok\n"},
        {"the run went on", "to device   10  auto face unlock plan    ok\n"},
    };
    for (const Case &c : cases) {
        EXPECT_NE(run->text.find(c.line), std::string::npos) << c.what << "\n" << run->text;
    }
    EXPECT_EQ(run->findings.ExitStatus(false), kExitNonConforming);
}

// What ValidateRecord tells the parent about `rec`, as the lines it sends.
std::string Validate(int type, const void *rec) {
    int fds[2];
    if (pipe(fds) != 0) {
        return "no pipe";
    }
    {
        Session s("counts", FakeEntry(), nullptr, Options{}, {}, fds[1]);
        ValidateRecord(s, type, static_cast<const uint8_t *>(rec));
    }
    close(fds[1]);
    std::string out;
    char chunk[512];
    ssize_t n = 0;
    while ((n = read(fds[0], chunk, sizeof chunk)) > 0) {
        out.append(chunk, static_cast<size_t>(n));
    }
    close(fds[0]);
    return out;
}

TEST(Rules, ListRecordsKeepCountsTextsAndEntries) {
    using Snaps = oqDevSDK_DoorLock_SnapPwdList_S;
    struct Case {
        const char *what;
        void (*make)(Snaps *);
        const char *finding;  // empty: none
    };
    const Case cases[] = {
        {"one real entry",
         [](Snaps *l) {
             l->usCount = 1;
             std::strcpy(l->astEntry[0].szName, "courier");
         },
         ""},
        {"count beyond the array",
         [](Snaps *l) {
             l->usCount = 4;
             for (uint16_t i = 0; i < 3; ++i) {
                 l->astEntry[i].usIndex = i;
                 std::strcpy(l->astEntry[i].szName, "courier");
             }
         },
         "F f 8 usCount 4 is beyond its array of 3\n"},
        {"count as the capacity",
         [](Snaps *l) {
             l->usCount = 3;
             std::strcpy(l->astEntry[0].szName, "courier");
         },
         "F f 8 usCount counts astEntry[1], which is empty (all zero)\n"},
        {"entry twice",
         [](Snaps *l) {
             l->usCount = 2;
             std::strcpy(l->astEntry[0].szName, "a");
             std::strcpy(l->astEntry[1].szName, "b");
         },
         "F f 8 astEntry[1].usIndex 0 is counted twice\n"},
        {"no terminator",
         [](Snaps *l) {
             l->usCount = 1;
             std::memset(l->astEntry[0].szName, 'x', sizeof l->astEntry[0].szName);
         },
         "F f 8 astEntry[0].szName has no terminator\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Snaps list{};
        c.make(&list);
        EXPECT_EQ(Validate(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, &list), c.finding);
    }
}

TEST(Findings, ExitStatusFollowsFailuresAndWhatWasNotChecked) {
    struct Case {
        const char *what;
        bool fail;
        bool checkAll;
        bool unitComplete;
        bool strict;
        int status;
    };
    const Case cases[] = {
        {"everything checked", false, true, true, false, kExitConforms},
        {"one type not checked", false, false, true, false, kExitNotChecked},
        {"a unit not complete", false, true, false, false, kExitNotChecked},
        {"strict", false, false, true, true, kExitNonConforming},
        {"a failure", true, true, true, false, kExitNonConforming},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Findings f;
        for (const Record &r : AllRecords()) {
            if (c.checkAll || r.dir == Dir::To) {
                f.Checked(r.dir, r.type);
            }
        }
        f.UnitRan("bounds");
        if (!c.unitComplete) {
            f.UnitNotChecked("events", "no events");
        }
        if (c.fail) {
            f.Fail(Dir::From, 4, "reserved", "ucReserved (byte 3) is 0x01");
        }
        EXPECT_EQ(f.ExitStatus(c.strict), c.status);
    }
}

TEST(Findings, OneTextFromSeveralUnitsIsListedOnceInTextAndJson) {
    Findings f;
    for (const Record &r : AllRecords()) {
        f.Checked(r.dir, r.type);
    }
    f.Fail(Dir::From, 3, "bounds", "did not return");
    f.Fail(Dir::From, 3, "timing", "did not return");
    f.Fail(Dir::From, 3, "bounds", "did not return");
    char path[] = "/tmp/qualify-report-XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    close(fd);
    ASSERT_TRUE(f.WriteJson(path, "lib.so", 200, false));
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    std::remove(path);
    std::unique_ptr<cJSON, void (*)(cJSON *)> doc(cJSON_Parse(text.str().c_str()), cJSON_Delete);
    ASSERT_NE(doc, nullptr);
    EXPECT_EQ(cJSON_GetObjectItem(doc.get(), "exit_status")->valueint, kExitNonConforming);
    const cJSON *types = cJSON_GetObjectItem(doc.get(), "types");
    const cJSON *prompt = cJSON_GetArrayItem(types, 11 + 3);  // to-device codes first
    EXPECT_STREQ(cJSON_GetObjectItem(prompt, "verdict")->valuestring, "FAIL");
    const cJSON *findings = cJSON_GetObjectItem(prompt, "findings");
    ASSERT_EQ(cJSON_GetArraySize(findings), 1);
    EXPECT_STREQ(cJSON_GetObjectItem(cJSON_GetArrayItem(findings, 0), "unit")->valuestring,
                 "bounds, timing");
}

TEST(DeviceLibrary, ABareNameMeansTheFileInTheWorkingDirectory) {
    char dir[] = "/tmp/qualify-cwd-XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string file = std::string(dir) + "/libhere.so";
    std::ofstream(file).put('x');
    char old[4096];
    ASSERT_NE(getcwd(old, sizeof old), nullptr);
    ASSERT_EQ(chdir(dir), 0);
    EXPECT_EQ(devlib::ResolvePath("libhere.so"), "./libhere.so");
    EXPECT_EQ(devlib::ResolvePath("libelsewhere.so"), "libelsewhere.so");
    EXPECT_EQ(devlib::ResolvePath("sub/libhere.so"), "sub/libhere.so");
    std::string why;
    devlib::DeviceLibrary lib;
    EXPECT_FALSE(devlib::Open("libhere.so", &lib, &why));  // found, but not a library
    EXPECT_NE(why.find("./libhere.so"), std::string::npos) << why;
    ASSERT_EQ(chdir(old), 0);
    std::remove(file.c_str());
    rmdir(dir);
}

}  // namespace
}  // namespace qualify
