// What the units found, per type code and per unit, and the reports made
// of it: the text for people and the JSON for a lock maker's CI.
#ifndef DOORLOCK_QUALIFY_FINDINGS_H
#define DOORLOCK_QUALIFY_FINDINGS_H

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "records.h"

namespace qualify {

// Exit status of a run.
constexpr int kExitConforms = 0;
constexpr int kExitUsage = 1;  // bad arguments, or the library cannot be used
constexpr int kExitNotChecked = 2;
constexpr int kExitNonConforming = 3;

struct Finding {
    std::string unit;  // the units that made it, comma-separated
    std::string text;
};

class Findings {
  public:
    void Fail(Dir dir, int type, const std::string &unit, const std::string &text);
    void Checked(Dir dir, int type);
    // The lock declined a call the check needs (a non-zero answer that may
    // be its own way of saying "not here").
    void Declined(Dir dir, int type, const std::string &unit, const std::string &text);
    void UnitRan(const std::string &unit);
    void UnitNotChecked(const std::string &unit, const std::string &why);

    bool AnyFailure() const;
    bool AnyUnchecked() const;
    int ExitStatus(bool strict) const;

    void PrintText(FILE *out, const std::string &library, long boundMs) const;
    bool WriteJson(const std::string &path, const std::string &library, long boundMs,
                   bool strict) const;

  private:
    struct TypeState {
        bool checked = false;
        std::vector<Finding> failures;
        std::vector<Finding> declined;
    };
    struct UnitState {
        std::string name;
        bool ran = false;
        std::vector<std::string> notChecked;
    };
    const TypeState *Find(Dir dir, int type) const;
    UnitState &Unit(const std::string &name);

    std::map<std::pair<Dir, int>, TypeState> m_types;
    std::vector<UnitState> m_units;
};

}  // namespace qualify

#endif
