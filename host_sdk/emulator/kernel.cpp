#include <cstring>
#include <map>
#include <mutex>
#include <set>

#include "oqdev_kernel.h"
#include "oqdev_sim.h"
#include "sim_internal.h"

namespace oqsim {
namespace {

const char kDefaultSubSerialKey[] = "dev_subserial";
const char kDefaultSubSerial[] = "SIMLOCK0001";

// A fault answering `code` for the next `remaining` calls (negative: always).
struct Fault {
    int code = 0;
    int remaining = 0;
    int passes = 0;  // calls that go through before the fault starts

    void set(int newCode, int count, int after = 0) {
        code = newCode;
        remaining = newCode == 0 ? 0 : count;
        passes = newCode == 0 ? 0 : after;
    }
    // The code this call answers, 0 when none.
    int take() {
        if (code == 0 || remaining == 0) {
            return 0;
        }
        if (passes > 0) {
            --passes;
            return 0;
        }
        if (remaining > 0) {
            --remaining;
        }
        return code;
    }
};

struct KernelState {
    bool loaded = false;
    oqdev_kernel_extend_s domain{};
    int loadCalls = 0;
    std::vector<Redirect> redirects;
    std::vector<Sent> sent;
    Fault loadFault;
    Fault redirectFault;
    std::map<int, int> redirectFaultAt;
    Fault sendFault;
    bool asleep = false;
    std::map<std::string, std::string> devinfo{{kDefaultSubSerialKey, kDefaultSubSerial}};
    std::set<std::string> absent;
};

std::mutex g_lock;
KernelState g_kernel;

std::string BoundedText(const char *field, size_t width) {
    return std::string(field, strnlen(field, width));
}

// Keeps every stored record's pBody on its own copy of the body; after a
// reallocation the strings moved, so all are re-pointed (amortised O(1)).
void PointBodies(bool all) {
    if (g_kernel.sent.empty()) {
        return;
    }
    size_t first = all ? 0 : g_kernel.sent.size() - 1;
    for (size_t i = first; i < g_kernel.sent.size(); ++i) {
        g_kernel.sent[i].rec.pBody = g_kernel.sent[i].body.c_str();
    }
}

struct Callbacks {
    oqdev_kernel_data_route_fn route = nullptr;
    oqdev_kernel_event_fn event = nullptr;
};

Callbacks LoadedCallbacks() {
    std::lock_guard<std::mutex> lock(g_lock);
    Callbacks cb;
    if (g_kernel.loaded) {
        cb.route = g_kernel.domain.pfnDataRoute;
        cb.event = g_kernel.domain.pfnEvent;
    }
    return cb;
}

}  // namespace

bool domain_loaded() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_kernel.loaded;
}

const oqdev_kernel_extend_s &domain() {
    return g_kernel.domain;
}

int load_calls() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_kernel.loadCalls;
}

const std::vector<Redirect> &redirects() {
    return g_kernel.redirects;
}
const std::vector<Sent> &sent() {
    return g_kernel.sent;
}

void clear_sent() {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.sent.clear();
}

void kernel_fail_load(int code) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.loadFault.set(code, -1);
}

void kernel_fail_redirect(int code) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.redirectFault.set(code, -1);
}

void kernel_fail_redirect_at(int index, int code) {
    std::lock_guard<std::mutex> lock(g_lock);
    if (code == 0) {
        g_kernel.redirectFaultAt.erase(index);
    } else {
        g_kernel.redirectFaultAt[index] = code;
    }
}

void kernel_fail_send(int code, int count, int after) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.sendFault.set(code, count, after);
}

void set_sleep(bool asleep) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.asleep = asleep;
}

void set_devinfo(const std::string &key, const std::string &value) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.devinfo[key] = value;
    g_kernel.absent.erase(key);
}

void set_devinfo_absent(const std::string &key) {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.devinfo.erase(key);
    g_kernel.absent.insert(key);
}

int deliver(int cmd, uint32_t seq, const std::string &body) {
    Callbacks cb = LoadedCallbacks();
    if (cb.route == nullptr) {
        return -1;
    }
    detail::emit_event(
        [&](detail::JsonObject &o) { o.str("ev", "deliver").num("cmd", cmd).num("seq", seq); });
    oqdev_kernel_submsg_s msg{};
    msg.uiMsgSeq = seq;
    msg.pBody = body.c_str();
    msg.iBodyLen = static_cast<int32_t>(body.size());
    msg.iCmdId = cmd;
    return cb.route(&msg, nullptr);
}

int deliver_null() {
    Callbacks cb = LoadedCallbacks();
    if (cb.route == nullptr) {
        return -1;
    }
    return cb.route(nullptr, nullptr);
}

int event(int type) {
    Callbacks cb = LoadedCallbacks();
    if (cb.event == nullptr) {
        return -1;
    }
    detail::emit_event([&](detail::JsonObject &o) { o.str("ev", "event").num("type", type); });
    oqdev_kernel_event_s ev{};
    ev.iEventType = type;
    return cb.event(&ev, nullptr);
}

namespace detail {

void kernel_reset() noexcept {
    std::lock_guard<std::mutex> lock(g_lock);
    g_kernel.loaded = false;
    g_kernel.domain = oqdev_kernel_extend_s{};
    g_kernel.loadCalls = 0;
    g_kernel.redirects.clear();
    g_kernel.sent.clear();
    g_kernel.loadFault = Fault{};
    g_kernel.redirectFault = Fault{};
    g_kernel.redirectFaultAt.clear();
    g_kernel.sendFault = Fault{};
    g_kernel.asleep = false;
    g_kernel.devinfo.clear();
    g_kernel.absent.clear();
    try {
        g_kernel.devinfo[kDefaultSubSerialKey] = kDefaultSubSerial;
    } catch (...) {
        // Without memory the item reads as unknown (empty).
    }
}

}  // namespace detail
}  // namespace oqsim

using oqsim::g_kernel;
using oqsim::g_lock;

extern "C" int oqdev_sdk_kernel_extend_load(oqdev_kernel_extend_s *pstExtend) {
    if (pstExtend == nullptr) {
        return -1;
    }
    int ret = 0;
    {
        std::lock_guard<std::mutex> lock(g_lock);
        ++g_kernel.loadCalls;
        ret = g_kernel.loadFault.take();
        if (ret == 0) {
            g_kernel.domain = *pstExtend;
            g_kernel.loaded = true;
        }
    }
    oqsim::detail::emit_event([&](oqsim::detail::JsonObject &o) {
        o.str("ev", "load")
            .num("domain", pstExtend->usDomainId)
            .str("name", oqsim::BoundedText(pstExtend->szDomainName, OQDEV_KERNEL_NAME_LEN))
            .str("version", oqsim::BoundedText(pstExtend->szDomainVersion, OQDEV_KERNEL_NAME_LEN))
            .num("ret", ret);
    });
    return ret;
}

extern "C" int oqDevSDK_Common_Module_RedirectReg(oqdev_redirect_reg_s *pstReg) {
    if (pstReg == nullptr) {
        return -1;
    }
    int ret = 0;
    try {
        oqsim::Redirect reg{pstReg->iCmdId, pstReg->iDomainId,
                            oqsim::BoundedText(pstReg->szType, OQDEV_KERNEL_NAME_LEN), 0};
        {
            std::lock_guard<std::mutex> lock(g_lock);
            auto at = g_kernel.redirectFaultAt.find(static_cast<int>(g_kernel.redirects.size()));
            ret = at != g_kernel.redirectFaultAt.end() ? at->second : 0;
            int always = g_kernel.redirectFault.take();
            ret = ret != 0 ? ret : always;
            reg.ret = ret;
            g_kernel.redirects.push_back(reg);
        }
        oqsim::detail::emit_event([&](oqsim::detail::JsonObject &o) {
            o.str("ev", "redirect")
                .num("cmd", reg.cmd)
                .num("domain", reg.domain)
                .str("type", reg.type)
                .num("ret", ret);
        });
    } catch (...) {
        return -1;
    }
    return ret;
}

extern "C" int oqdev_sdk_kernel_send(oqdev_kernel_send_s *pstSend) {
    if (pstSend == nullptr) {
        return -1;
    }
    int ret = 0;
    try {
        oqsim::Sent copy{*pstSend, pstSend->pBody != nullptr ? std::string(pstSend->pBody) : "",
                         oqsim::BoundedText(pstSend->szVersion, OQDEV_KERNEL_NAME_LEN), 0};
        {
            std::lock_guard<std::mutex> lock(g_lock);
            ret = g_kernel.sendFault.take();
            copy.ret = ret;
            const size_t capacity = g_kernel.sent.capacity();
            g_kernel.sent.push_back(std::move(copy));
            oqsim::PointBodies(g_kernel.sent.capacity() != capacity);
        }
        oqsim::detail::emit_event([&](oqsim::detail::JsonObject &o) {
            o.str("ev", "send")
                .num("cmd", pstSend->iCmdId)
                .num("seq", pstSend->uiMsgSeq)
                .num("rsp", pstSend->ucIsResponse != 0 ? 1 : 0)
                .num("domain", pstSend->iDomainId)
                .str("ver", oqsim::BoundedText(pstSend->szVersion, OQDEV_KERNEL_NAME_LEN))
                .str("body", pstSend->pBody != nullptr ? pstSend->pBody : "")
                .num("ret", ret);
        });
    } catch (...) {
        return -1;
    }
    return ret;
}

extern "C" const char *oqdev_sdk_kernel_getdevinfo_bykey(const char *pszKey) {
    if (pszKey == nullptr) {
        return "";
    }
    try {
        std::lock_guard<std::mutex> lock(g_lock);
        if (g_kernel.absent.count(pszKey) != 0) {
            return nullptr;
        }
        auto it = g_kernel.devinfo.find(pszKey);
        return it == g_kernel.devinfo.end() ? "" : it->second.c_str();
    } catch (...) {
        return "";
    }
}

extern "C" int oqdev_get_sleep_status(void) {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_kernel.asleep ? 1 : 0;
}
