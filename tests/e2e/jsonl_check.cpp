// Checks a doorlock-sim --json output: every line one JSON object with a
// known "ev" and the members that event carries, with their types.
#include <cjson/cJSON.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

namespace {

enum class Kind { Number, String, NumberOrNull };

struct Member {
    const char *name;
    Kind kind;
};

struct EventShape {
    const char *ev;
    Member members[7];
};

// Members every event of that name has; unnamed slots end the list.
const EventShape kShapes[] = {
    {"call", {{"fn", Kind::String}, {"ret", Kind::NumberOrNull}}},
    {"load",
     {{"domain", Kind::Number},
      {"name", Kind::String},
      {"version", Kind::String},
      {"ret", Kind::Number}}},
    {"redirect",
     {{"cmd", Kind::Number},
      {"domain", Kind::Number},
      {"type", Kind::String},
      {"ret", Kind::Number}}},
    {"deliver", {{"cmd", Kind::Number}, {"seq", Kind::Number}}},
    {"event", {{"type", Kind::Number}}},
    {"send",
     {{"cmd", Kind::Number},
      {"seq", Kind::Number},
      {"rsp", Kind::Number},
      {"domain", Kind::Number},
      {"ver", Kind::String},
      {"body", Kind::String},
      {"ret", Kind::Number}}},
    {"recv_msg",
     {{"type", Kind::Number},
      {"len", Kind::Number},
      {"data", Kind::String},
      {"ret", Kind::Number}}},
    {"get_info", {{"type", Kind::Number}, {"len", Kind::Number}, {"ret", Kind::Number}}},
    {"log", {{"level", Kind::Number}, {"text", Kind::String}}},
    {"status", {{"op", Kind::String}}},
    {"item", {{"id", Kind::Number}, {"changed", Kind::Number}}},
    {"report", {{"id", Kind::Number}, {"ret", Kind::Number}}},
    {"reset", {{"id", Kind::Number}, {"ret", Kind::Number}}},
    {"timer", {{"op", Kind::String}}},
};

bool HasKind(const cJSON *item, Kind kind) {
    switch (kind) {
        case Kind::Number:
            return cJSON_IsNumber(item);
        case Kind::String:
            return cJSON_IsString(item);
        case Kind::NumberOrNull:
            return cJSON_IsNumber(item) || cJSON_IsNull(item);
    }
    return false;
}

std::string Str(const cJSON *obj, const char *name) {
    const cJSON *item = cJSON_GetObjectItemCaseSensitive(obj, name);
    return cJSON_IsString(item) ? item->valuestring : "";
}

bool Has(const cJSON *obj, const char *name) {
    return cJSON_IsNumber(cJSON_GetObjectItemCaseSensitive(obj, name));
}

// Rules beyond the members' presence; empty when the event is fine.
std::string CheckDetails(const cJSON *obj, const std::string &ev) {
    if (ev == "call") {
        const std::string fn = Str(obj, "fn");
        if (fn != "Init" && fn != "Fini" && fn != "Send2Srv") {
            return "unknown fn '" + fn + "'";
        }
        if ((fn == "Fini") != cJSON_IsNull(cJSON_GetObjectItemCaseSensitive(obj, "ret"))) {
            return "only Fini has a null ret";
        }
    }
    if (ev == "recv_msg") {
        const double len = cJSON_GetObjectItemCaseSensitive(obj, "len")->valuedouble;
        const std::string data = Str(obj, "data");
        if (static_cast<double>(data.size()) != 2 * len ||
            data.find_first_not_of("0123456789abcdef") != std::string::npos) {
            return "data is not len bytes of lower-case hex";
        }
    }
    if (ev == "send") {
        const int rsp = cJSON_GetObjectItemCaseSensitive(obj, "rsp")->valueint;
        if (rsp != 0 && rsp != 1) {
            return "rsp is neither 0 nor 1";
        }
    }
    if (ev == "log") {
        const std::string text = Str(obj, "text");
        if (text.empty() || text.back() != '\n') {
            return "log text does not end with a newline";
        }
    }
    if (ev == "status") {
        const std::string op = Str(obj, "op");
        const bool withId = op == "register" || op == "unregister" || op == "force";
        if (!withId && op != "init" && op != "fini") {
            return "unknown status op '" + op + "'";
        }
        if (withId != Has(obj, "id")) {
            return "status " + op + (withId ? " lacks" : " has") + " an id";
        }
    }
    if (ev == "timer") {
        const std::string op = Str(obj, "op");
        if (op == "add" && !(cJSON_IsString(cJSON_GetObjectItemCaseSensitive(obj, "name")) &&
                             Has(obj, "interval") && Has(obj, "mode") && Has(obj, "id"))) {
            return "timer add lacks name, interval, mode or id";
        }
        if (op == "del" && !Has(obj, "id")) {
            return "timer del lacks its id";
        }
        if (op != "add" && op != "del" && op != "init" && op != "fini") {
            return "unknown timer op '" + op + "'";
        }
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
    std::string problem = "unknown ev '" + ev + "'";
    for (const EventShape &shape : kShapes) {
        if (ev != shape.ev) {
            continue;
        }
        problem.clear();
        for (const Member &m : shape.members) {
            if (m.name != nullptr &&
                !HasKind(cJSON_GetObjectItemCaseSensitive(obj, m.name), m.kind)) {
                problem = std::string("member '") + m.name + "' missing or of the wrong type";
                break;
            }
        }
        if (problem.empty()) {
            problem = CheckDetails(obj, ev);
        }
    }
    cJSON_Delete(obj);
    return problem;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: jsonl_check FILE\n");
        return 2;
    }
    std::ifstream in(argv[1]);
    if (!in) {
        std::fprintf(stderr, "jsonl_check: cannot read %s\n", argv[1]);
        return 2;
    }
    int failures = 0;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        const std::string problem = CheckLine(line);
        if (!problem.empty()) {
            std::fprintf(stderr, "%s:%d: %s\n", argv[1], number, problem.c_str());
            ++failures;
        }
    }
    if (number == 0) {
        std::fprintf(stderr, "%s: no events\n", argv[1]);
        return 1;
    }
    return failures == 0 ? 0 : 1;
}
