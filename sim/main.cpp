// doorlock-sim: runs the door-lock module on the emulated host SDK with a
// simulated lock and plays a scenario.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "device_lib.h"
#include "device_library.h"
#include "lock.h"
#include "player.h"
#include "transcript.h"

namespace {

constexpr int kExitUsage = 1;

const char kUsage[] =
    "usage: doorlock-sim [--json] [--module PATH] [--device LIB] [SCENARIO | -]\n"
    "  Plays SCENARIO (standard input for '-', the tour when none is given)\n"
    "  against the door-lock module with a simulated lock.\n"
    "  --json         one JSON object a line instead of the transcript\n"
    "  --module PATH  the module to load (also $DOORLOCK_MODULE)\n"
    "  --device LIB   a device application library in place of the simulated lock\n";

struct Options {
    bool json = false;
    std::string module;
    std::string scenario;
    std::string device;
};

// Run from its build tree, the simulator loads that tree's module and plays
// its tour; installed from a package, the tree is gone and it takes the
// installed ones (the module through the loader's search path).
const char *InTreeOr(const char *inTree, const char *installed) {
    return access(inTree, F_OK) == 0 ? inTree : installed;
}

bool ParseOptions(int argc, char **argv, Options *opt) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--json") {
            opt->json = true;
        } else if (arg == "--module" && i + 1 < argc) {
            opt->module = argv[++i];
        } else if (arg == "--device" && i + 1 < argc) {
            opt->device = argv[++i];
        } else if (arg == "-h" || arg == "--help") {
            return false;
        } else if (opt->scenario.empty() && (arg == "-" || arg[0] != '-')) {
            opt->scenario = arg;
        } else {
            return false;
        }
    }
    if (opt->module.empty()) {
        const char *env = std::getenv("DOORLOCK_MODULE");
        opt->module = env != nullptr && env[0] != '\0'
                          ? env
                          : InTreeOr(DOORLOCK_SIM_MODULE_PATH, DOORLOCK_SIM_INSTALLED_MODULE);
    }
    if (opt->scenario.empty()) {
        opt->scenario = InTreeOr(DOORLOCK_SIM_TOUR_PATH, DOORLOCK_SIM_INSTALLED_TOUR);
    }
    return true;
}

// The module is loaded at run time, as a device application that ships it
// separately would.
bool LoadModule(const std::string &path, dlsim::ModuleApi *api) {
    void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::fprintf(stderr, "doorlock-sim: cannot load %s: %s\n", path.c_str(), dlerror());
        return false;
    }
    api->init = reinterpret_cast<int (*)(oqDevSDK_DoorLock_InitInfo_S *)>(
        dlsym(handle, "oqDevSDK_DoorLock_Init"));
    api->fini = reinterpret_cast<void (*)()>(dlsym(handle, "oqDevSDK_DoorLock_Fini"));
    api->send2srv = reinterpret_cast<int (*)(oqDevSDK_DoorLock_SrvMsg_S *)>(
        dlsym(handle, "oqDevSDK_DoorLock_Send2Srv_Msg"));
    if (api->init == nullptr || api->fini == nullptr || api->send2srv == nullptr) {
        std::fprintf(stderr, "doorlock-sim: %s lacks the door-lock entry points\n", path.c_str());
        return false;
    }
    return true;
}

std::string DirectoryOf(const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

}  // namespace

int main(int argc, char **argv) {
    Options opt;
    if (!ParseOptions(argc, argv, &opt)) {
        std::fputs(kUsage, stderr);
        return kExitUsage;
    }
    std::ifstream file;
    std::istream *in = &std::cin;
    std::string dir = ".";
    if (opt.scenario != "-") {
        file.open(opt.scenario);
        if (!file) {
            std::fprintf(stderr, "doorlock-sim: cannot read %s\n", opt.scenario.c_str());
            return kExitUsage;
        }
        in = &file;
        dir = DirectoryOf(opt.scenario);
    }
    dlsim::ModuleApi api{};
    if (!LoadModule(opt.module, &api)) {
        return kExitUsage;
    }
    const bool colour =
        !opt.json && isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
    auto transcript =
        opt.json ? dlsim::MakeJsonTranscript(stdout) : dlsim::MakeHumanTranscript(stdout, colour);
    dlsim::Lock lock;
    oqDevSDK_DoorLock_DeviceEvent_F deviceEvent = nullptr;
    if (!opt.device.empty()) {
        devlib::DeviceLibrary device;
        std::string why;
        if (!devlib::Load(opt.device, &device, &why)) {
            std::fprintf(stderr, "doorlock-sim: cannot use %s: %s\n", opt.device.c_str(),
                         why.c_str());
            return kExitUsage;
        }
        api = dlsim::WithDevice(api, device.callbacks, transcript.get());
        deviceEvent = device.event;
    }
    dlsim::Player player(api, lock, *transcript);
    if (!opt.device.empty()) {
        player.UseDeviceLibrary(deviceEvent);
    }
    const std::string name = opt.scenario == "-" ? "<stdin>" : opt.scenario;
    return player.Play(*in, name, dir, stderr);
}
