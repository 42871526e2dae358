#include "findings.h"

#include <algorithm>
#include <memory>

#include <cjson/cJSON.h>

namespace qualify {
namespace {

// A finding several units make (a crash in every unit that calls that type
// code) is listed once, with every unit that made it.
void AddOnce(std::vector<Finding> *list, const Finding &f) {
    for (Finding &known : *list) {
        if (known.text != f.text) {
            continue;
        }
        const std::string units = ", " + known.unit + ",";
        if (units.find(", " + f.unit + ",") == std::string::npos) {
            known.unit += ", " + f.unit;
        }
        return;
    }
    list->push_back(f);
}

const char *Verdict(bool failed, bool checked) {
    return failed ? "FAIL" : checked ? "ok" : "not checked";
}

}  // namespace

void Findings::Fail(Dir dir, int type, const std::string &unit, const std::string &text) {
    TypeState &t = m_types[{dir, type}];
    t.checked = true;
    AddOnce(&t.failures, {unit, text});
}

void Findings::Checked(Dir dir, int type) {
    m_types[{dir, type}].checked = true;
}

void Findings::Declined(Dir dir, int type, const std::string &unit, const std::string &text) {
    AddOnce(&m_types[{dir, type}].declined, {unit, text});
}

Findings::UnitState &Findings::Unit(const std::string &name) {
    for (UnitState &u : m_units) {
        if (u.name == name) {
            return u;
        }
    }
    m_units.push_back(UnitState{name, false, {}});
    return m_units.back();
}

void Findings::UnitRan(const std::string &unit) {
    Unit(unit).ran = true;
}

void Findings::UnitNotChecked(const std::string &unit, const std::string &why) {
    UnitState &u = Unit(unit);
    if (std::find(u.notChecked.begin(), u.notChecked.end(), why) == u.notChecked.end()) {
        u.notChecked.push_back(why);
    }
}

const Findings::TypeState *Findings::Find(Dir dir, int type) const {
    const auto it = m_types.find({dir, type});
    return it == m_types.end() ? nullptr : &it->second;
}

bool Findings::AnyFailure() const {
    return std::any_of(m_types.begin(), m_types.end(),
                       [](const auto &t) { return !t.second.failures.empty(); });
}

bool Findings::AnyUnchecked() const {
    for (const Record &r : AllRecords()) {
        const TypeState *t = Find(r.dir, r.type);
        if (t == nullptr || !t->checked) {
            return true;
        }
    }
    return std::any_of(m_units.begin(), m_units.end(),
                       [](const UnitState &u) { return !u.ran || !u.notChecked.empty(); });
}

int Findings::ExitStatus(bool strict) const {
    if (AnyFailure()) {
        return kExitNonConforming;
    }
    if (AnyUnchecked()) {
        return strict ? kExitNonConforming : kExitNotChecked;
    }
    return kExitConforms;
}

void Findings::PrintText(FILE *out, const std::string &library, long boundMs) const {
    std::fprintf(out, "qualification of %s (each call bounded by %ld ms)\n", library.c_str(),
                 boundMs);
    int failing = 0;
    int unchecked = 0;
    for (const Record &r : AllRecords()) {
        const TypeState *t = Find(r.dir, r.type);
        const bool failed = t != nullptr && !t->failures.empty();
        const bool checked = t != nullptr && t->checked;
        failing += failed ? 1 : 0;
        unchecked += !failed && !checked ? 1 : 0;
        std::fprintf(out, "%-11s %2d  %-24s %s\n", DirName(r.dir), r.type, r.name,
                     Verdict(failed, checked));
        if (t == nullptr) {
            continue;
        }
        for (const Finding &f : t->failures) {
            std::fprintf(out, "    [%s] %s\n", f.unit.c_str(), f.text.c_str());
        }
        for (const Finding &f : t->declined) {
            std::fprintf(out, "    [%s] %s\n", f.unit.c_str(), f.text.c_str());
        }
    }
    for (const UnitState &u : m_units) {
        for (const std::string &why : u.notChecked) {
            std::fprintf(out, "%s: not checked: %s\n", u.name.c_str(), why.c_str());
        }
    }
    const int total = static_cast<int>(AllRecords().size());
    if (failing != 0) {
        std::fprintf(out, "%d of %d type codes do not conform\n", failing, total);
    } else if (AnyUnchecked()) {
        std::fprintf(out, "%d of %d type codes conform, %d not checked; not every check ran\n",
                     total - unchecked, total, unchecked);
    } else {
        std::fprintf(out, "all %d type codes conform\n", total);
    }
}

bool Findings::WriteJson(const std::string &path, const std::string &library, long boundMs,
                         bool strict) const {
    std::unique_ptr<cJSON, void (*)(cJSON *)> root(cJSON_CreateObject(), cJSON_Delete);
    cJSON *doc = root.get();
    cJSON_AddStringToObject(doc, "library", library.c_str());
    cJSON_AddNumberToObject(doc, "bound_ms", static_cast<double>(boundMs));
    cJSON_AddBoolToObject(doc, "strict", strict ? 1 : 0);
    const int status = ExitStatus(strict);
    cJSON_AddStringToObject(doc, "verdict",
                            status == kExitConforms     ? "conforms"
                            : status == kExitNotChecked ? "not checked"
                                                        : "does not conform");
    cJSON_AddNumberToObject(doc, "exit_status", status);
    cJSON *types = cJSON_AddArrayToObject(doc, "types");
    auto addList = [](cJSON *obj, const char *name, const std::vector<Finding> &list) {
        cJSON *arr = cJSON_AddArrayToObject(obj, name);
        for (const Finding &f : list) {
            cJSON *item = cJSON_CreateObject();
            cJSON_AddStringToObject(item, "unit", f.unit.c_str());
            cJSON_AddStringToObject(item, "text", f.text.c_str());
            cJSON_AddItemToArray(arr, item);
        }
    };
    for (const Record &r : AllRecords()) {
        const TypeState *t = Find(r.dir, r.type);
        const TypeState none;
        const TypeState &s = t != nullptr ? *t : none;
        cJSON *item = cJSON_CreateObject();
        cJSON_AddStringToObject(item, "direction", r.dir == Dir::To ? "to_device" : "from_device");
        cJSON_AddNumberToObject(item, "type", r.type);
        cJSON_AddStringToObject(item, "name", r.name);
        cJSON_AddStringToObject(item, "verdict", Verdict(!s.failures.empty(), s.checked));
        addList(item, "findings", s.failures);
        addList(item, "declined", s.declined);
        cJSON_AddItemToArray(types, item);
    }
    cJSON *units = cJSON_AddArrayToObject(doc, "units");
    for (const UnitState &u : m_units) {
        cJSON *item = cJSON_CreateObject();
        cJSON_AddStringToObject(item, "name", u.name.c_str());
        cJSON_AddStringToObject(item, "status",
                                !u.ran                 ? "not run"
                                : u.notChecked.empty() ? "ran"
                                                       : "partly");
        cJSON *why = cJSON_AddArrayToObject(item, "not_checked");
        for (const std::string &w : u.notChecked) {
            cJSON_AddItemToArray(why, cJSON_CreateString(w.c_str()));
        }
        cJSON_AddItemToArray(units, item);
    }
    std::unique_ptr<char, void (*)(void *)> text(cJSON_Print(doc), cJSON_free);
    FILE *f = text != nullptr ? std::fopen(path.c_str(), "w") : nullptr;
    if (f == nullptr) {
        return false;
    }
    const bool ok = std::fputs(text.get(), f) >= 0 && std::fputc('\n', f) != EOF;
    return std::fclose(f) == 0 && ok;
}

}  // namespace qualify
