#include <algorithm>
#include <mutex>

#include "oqdev_sim.h"
#include "oqdev_status_report.h"
#include "sim_internal.h"

namespace oqsim {
namespace {

struct StatusState {
    bool inited = false;
    int initCalls = 0;
    int finiCalls = 0;
    std::vector<StatusItem> items;
    std::vector<std::string> ops;
};

std::mutex g_lock;
StatusState g_status;

std::vector<StatusItem>::iterator FindItem(int id) {
    return std::find_if(g_status.items.begin(), g_status.items.end(),
                        [id](const StatusItem &item) { return item.reg.iStatusId == id; });
}

void EmitOp(const char *op, const int *id) {
    detail::emit_event([&](detail::JsonObject &o) {
        o.str("ev", "status").str("op", op);
        if (id != nullptr) {
            o.num("id", *id);
        }
    });
}

void RecordOp(const char *op, const int *id) {
    try {
        std::string text = op;
        if (id != nullptr) {
            text += " " + std::to_string(*id);
        }
        g_status.ops.push_back(std::move(text));
    } catch (...) {
        // The operation still happens; only its trace is lost.
    }
}

// The item's current registration, when it is still registered. Polls and
// resets work on these copies so that no lock is held while the module runs.
bool CurrentItem(int id, StatusItem &out) {
    std::lock_guard<std::mutex> lock(g_lock);
    auto it = FindItem(id);
    if (it == g_status.items.end()) {
        return false;
    }
    out = *it;
    return true;
}

// Takes the forced mark of an item: true when it was set.
bool TakeForced(int id) {
    std::lock_guard<std::mutex> lock(g_lock);
    auto it = FindItem(id);
    if (it == g_status.items.end() || !it->forced) {
        return false;
    }
    it->forced = false;
    return true;
}

std::vector<int> SnapshotIds() {
    std::lock_guard<std::mutex> lock(g_lock);
    std::vector<int> ids;
    ids.reserve(g_status.items.size());
    for (const auto &item : g_status.items) {
        ids.push_back(item.reg.iStatusId);
    }
    return ids;
}

void PollItem(int id) {
    StatusItem item{};
    if (!CurrentItem(id, item)) {
        return;
    }
    int changed = item.reg.pfnIsChanged != nullptr ? item.reg.pfnIsChanged() : 0;
    detail::emit_event(
        [&](detail::JsonObject &o) { o.str("ev", "item").num("id", id).num("changed", changed); });
    bool forced = TakeForced(id);
    if ((changed != 1 && !forced) || item.reg.pfnReport == nullptr) {
        return;
    }
    int ret = item.reg.pfnReport(0);
    detail::emit_event(
        [&](detail::JsonObject &o) { o.str("ev", "report").num("id", id).num("ret", ret); });
}

}  // namespace

int status_init_calls() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_status.initCalls;
}

int status_fini_calls() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_status.finiCalls;
}

bool status_inited() {
    std::lock_guard<std::mutex> lock(g_lock);
    return g_status.inited;
}

const std::vector<StatusItem> &status_items() {
    return g_status.items;
}
const std::vector<std::string> &status_ops() {
    return g_status.ops;
}
std::vector<int> status_ids() {
    return SnapshotIds();
}

void poll() {
    for (int id : SnapshotIds()) {
        PollItem(id);
    }
}

int reset_item(int id) {
    StatusItem item{};
    if (!CurrentItem(id, item) || item.reg.pfnReset == nullptr) {
        return -1;
    }
    int ret = item.reg.pfnReset();
    detail::emit_event(
        [&](detail::JsonObject &o) { o.str("ev", "reset").num("id", id).num("ret", ret); });
    return ret;
}

void reset_all_items() {
    for (int id : SnapshotIds()) {
        reset_item(id);
    }
}

int force_report(int id) {
    return oqDevSDK_report_set_force_report(id);
}

namespace detail {

void status_reset() noexcept {
    std::lock_guard<std::mutex> lock(g_lock);
    g_status.inited = false;
    g_status.initCalls = 0;
    g_status.finiCalls = 0;
    g_status.items.clear();
    g_status.ops.clear();
}

}  // namespace detail
}  // namespace oqsim

using oqsim::g_lock;
using oqsim::g_status;

extern "C" int oqDevSDK_report_status_init(void) {
    {
        std::lock_guard<std::mutex> lock(g_lock);
        g_status.inited = true;
        ++g_status.initCalls;
        oqsim::RecordOp("init", nullptr);
    }
    oqsim::EmitOp("init", nullptr);
    return 0;
}

extern "C" int oqDevSDK_report_status_fini(void) {
    {
        std::lock_guard<std::mutex> lock(g_lock);
        g_status.inited = false;
        ++g_status.finiCalls;
        oqsim::RecordOp("fini", nullptr);
    }
    oqsim::EmitOp("fini", nullptr);
    return 0;
}

extern "C" int oqDevSDK_report_status_register(oqdev_status_reg_s *pstReg) {
    if (pstReg == nullptr) {
        return -1;
    }
    const int id = pstReg->iStatusId;
    {
        std::lock_guard<std::mutex> lock(g_lock);
        oqsim::RecordOp("register", &id);
        auto it = oqsim::FindItem(id);
        if (it != g_status.items.end()) {
            it->reg = *pstReg;
        } else {
            try {
                g_status.items.push_back({*pstReg, false});
            } catch (...) {
                return -1;
            }
        }
    }
    oqsim::EmitOp("register", &id);
    return 0;
}

extern "C" int oqDevSDK_report_status_unregister(oqdev_status_reg_s *pstReg) {
    if (pstReg == nullptr) {
        return -1;
    }
    const int id = pstReg->iStatusId;
    bool found = false;
    {
        std::lock_guard<std::mutex> lock(g_lock);
        oqsim::RecordOp("unregister", &id);
        auto it = oqsim::FindItem(id);
        found = it != g_status.items.end();
        if (found) {
            g_status.items.erase(it);
        }
    }
    oqsim::EmitOp("unregister", &id);
    return found ? 0 : -1;
}

extern "C" int oqDevSDK_report_set_force_report(int iStatusId) {
    bool found = false;
    {
        std::lock_guard<std::mutex> lock(g_lock);
        oqsim::RecordOp("force", &iStatusId);
        auto it = oqsim::FindItem(iStatusId);
        found = it != g_status.items.end();
        if (found) {
            it->forced = true;
        }
    }
    oqsim::EmitOp("force", &iStatusId);
    return found ? 0 : -1;
}
