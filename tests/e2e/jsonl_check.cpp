// Checks a doorlock-sim --json output: every line one JSON object with a
// known "ev" (and "fn" or "op", where the event has one) and the members that
// event carries, with their types.
#include <cjson/cJSON.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

// Members as NAME:TYPE, TYPE one of n (number), s (string), null.
const char *const kShapes[][2] = {
    {"call Init", "ret:n"},
    {"call Fini", "ret:null"},
    {"call Send2Srv", "ret:n"},
    {"load", "domain:n name:s version:s ret:n"},
    {"redirect", "cmd:n domain:n type:s ret:n"},
    {"deliver", "cmd:n seq:n"},
    {"event", "type:n"},
    {"send", "cmd:n seq:n rsp:n domain:n ver:s body:s ret:n"},
    {"recv_msg", "type:n len:n data:s ret:n"},
    {"get_info", "type:n len:n ret:n"},
    {"log", "level:n text:s"},
    {"status init", ""},
    {"status fini", ""},
    {"status register", "id:n"},
    {"status unregister", "id:n"},
    {"status force", "id:n"},
    {"item", "id:n changed:n"},
    {"report", "id:n ret:n"},
    {"reset", "id:n ret:n"},
    {"timer init", ""},
    {"timer fini", ""},
    {"timer add", "name:s interval:n mode:n id:n"},
    {"timer del", "id:n"},
};

const cJSON *Get(const cJSON *obj, const std::string &name) {
    return cJSON_GetObjectItemCaseSensitive(obj, name.c_str());
}

std::string Str(const cJSON *obj, const char *name) {
    const cJSON *item = Get(obj, name);
    return cJSON_IsString(item) ? item->valuestring : "";
}

// The first member of `shape` that is missing or of the wrong type; empty when none.
std::string MissingMember(const cJSON *obj, const std::string &shape) {
    std::istringstream members(shape);
    for (std::string m; members >> m;) {
        const std::string name = m.substr(0, m.find(':')), type = m.substr(m.find(':') + 1);
        const cJSON *item = Get(obj, name);
        if (!(type == "s"   ? cJSON_IsString(item)
              : type == "n" ? cJSON_IsNumber(item)
                            : cJSON_IsNull(item))) {
            return "member '" + name + "' missing or of the wrong type";
        }
    }
    return "";
}

// Rules beyond the members' presence; empty when the event is fine.
std::string CheckValues(const cJSON *obj, const std::string &ev) {
    const std::string data = Str(obj, "data"), text = Str(obj, "text");
    if (ev == "recv_msg" && (static_cast<double>(data.size()) != 2 * Get(obj, "len")->valuedouble ||
                             data.find_first_not_of("0123456789abcdef") != std::string::npos)) {
        return "data is not len bytes of lower-case hex";
    }
    if (ev == "send" && Get(obj, "rsp")->valueint != 0 && Get(obj, "rsp")->valueint != 1) {
        return "rsp is neither 0 nor 1";
    }
    if (ev == "log" && (text.empty() || text.back() != '\n')) {
        return "log text does not end with a newline";
    }
    return "";
}

std::string CheckLine(const std::string &line) {
    cJSON *obj = cJSON_Parse(line.c_str());
    if (!cJSON_IsObject(obj)) {
        cJSON_Delete(obj);
        return "not a JSON object";
    }
    const std::string ev = Str(obj, "ev");
    const std::string kind = ev + (ev == "call"                ? " " + Str(obj, "fn")
                                   : Get(obj, "op") != nullptr ? " " + Str(obj, "op")
                                                               : "");
    std::string problem = "unknown event '" + kind + "'";
    for (const auto &shape : kShapes) {
        if (kind == shape[0]) {
            problem = MissingMember(obj, shape[1]);
            problem = problem.empty() ? CheckValues(obj, ev) : problem;
        }
    }
    cJSON_Delete(obj);
    return problem;
}

}  // namespace

int main(int argc, char **argv) {
    std::ifstream in(argc == 2 ? argv[1] : "");
    if (!in) {
        std::fprintf(stderr, "usage: jsonl_check FILE (a readable one)\n");
        return 2;
    }
    int failures = 0;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        const std::string problem = CheckLine(line);
        ++number;
        if (!problem.empty()) {
            std::fprintf(stderr, "%s:%d: %s\n", argv[1], number, problem.c_str());
            ++failures;
        }
    }
    if (number == 0) {
        std::fprintf(stderr, "%s: no events\n", argv[1]);
    }
    return failures == 0 && number > 0 ? 0 : 1;
}
