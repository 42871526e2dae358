#include "transcript.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <pugixml.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "records.h"

namespace dlsim {
namespace {

void Write(FILE *out, const std::string &text) {
    std::fwrite(text.data(), 1, text.size(), out);
}

class JsonTranscript : public Transcript {
  public:
    explicit JsonTranscript(FILE *out) : m_out(out) {}

    void Host(const std::string &json) override { Write(m_out, json + "\n"); }

    void Call(const char *fn, const int *ret) override {
        const std::string value = ret != nullptr ? std::to_string(*ret) : "null";
        Write(m_out,
              std::string("{\"ev\":\"call\",\"fn\":\"") + fn + "\",\"ret\":" + value + "}\n");
    }

    void RecvMsg(int type, const uint8_t *handed, const uint8_t * /*after*/, uint32_t len,
                 int ret) override {
        Write(m_out, "{\"ev\":\"recv_msg\",\"type\":" + std::to_string(type) +
                         ",\"len\":" + std::to_string(len) + ",\"data\":\"" + HexText(handed, len) +
                         "\",\"ret\":" + std::to_string(ret) + "}\n");
    }

    void GetInfo(int type, const uint8_t * /*filled*/, uint32_t len, int ret) override {
        Write(m_out, "{\"ev\":\"get_info\",\"type\":" + std::to_string(type) + ",\"len\":" +
                         std::to_string(len) + ",\"ret\":" + std::to_string(ret) + "}\n");
    }

    void Finish() override { std::fflush(m_out); }

  private:
    FILE *m_out;
};

// ANSI styles, empty when colour is off.
struct Style {
    const char *step, *incoming, *outgoing, *device, *host, *error, *warn, *dim, *off;
};
constexpr Style kColour = {"\033[1m",  "\033[36m", "\033[32m", "\033[33m", "\033[34m",
                           "\033[31m", "\033[35m", "\033[2m",  "\033[0m"};
constexpr Style kPlain = {"", "", "", "", "", "", "", "", ""};

constexpr size_t kInlineFieldsWidth = 72;
constexpr size_t kMaxNameWidth = 34;
constexpr size_t kMaxStepWidth = 96;
const char *const kIndent = "      ";

std::string Named(int id, const std::string &name) {
    return name.empty() ? std::to_string(id) : std::to_string(id) + " " + name;
}

// Large codes are easier to recognise in hex.
std::string Ret(int ret) {
    constexpr int kPlainLimit = 255;
    std::string text = " -> " + std::to_string(ret);
    if (ret > kPlainLimit) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "%#x", static_cast<unsigned>(ret));
        text += std::string(" (") + hex + ")";
    }
    return text;
}

class Json {
  public:
    explicit Json(const std::string &text) : m_root(cJSON_Parse(text.c_str())) {}
    ~Json() { cJSON_Delete(m_root); }
    Json(const Json &) = delete;
    Json &operator=(const Json &) = delete;

    bool ok() const { return cJSON_IsObject(m_root); }
    bool has(const char *key) const { return cJSON_GetObjectItemCaseSensitive(m_root, key); }
    int num(const char *key) const {
        const cJSON *item = cJSON_GetObjectItemCaseSensitive(m_root, key);
        return cJSON_IsNumber(item) ? item->valueint : 0;
    }
    std::string str(const char *key) const {
        const cJSON *item = cJSON_GetObjectItemCaseSensitive(m_root, key);
        return cJSON_IsString(item) ? item->valuestring : "";
    }

  private:
    cJSON *m_root;
};

class HumanTranscript : public Transcript {
  public:
    HumanTranscript(FILE *out, bool colour) : m_out(out), m_s(colour ? kColour : kPlain) {}

    void Step(const std::string &where, const std::string &text) override {
        std::string shown =
            text.size() > kMaxStepWidth ? text.substr(0, kMaxStepWidth) + "..." : text;
        Print(std::string("\n") + m_s.step + where + "  " + shown + m_s.off);
    }

    void Note(const std::string &text) override {
        Print(std::string("\n") + m_s.step + "## " + text + m_s.off);
    }

    void Request(int cmd, uint32_t seq, const std::string &body) override {
        m_request = Block(m_s.incoming, "platform -> module",
                          Named(cmd, CommandName(cmd)) + ", seq " + std::to_string(seq));
        m_request += Xml(body);
        m_requestPending = true;
    }

    void Delivered(int ret) override {
        if (m_requestPending) {
            m_requestPending = false;
            Print(m_request + "\n" + kIndent + m_s.error + "not delivered" + Ret(ret) + m_s.off);
        }
    }

    void PollBegin() override {
        m_inPoll = true;
        Print(std::string("  ") + m_s.host + "status-report: poll" + m_s.off);
    }

    void PollEnd() override {
        Flush(true);
        m_inPoll = false;
    }

    void Finish() override {
        Flush(true);
        std::fflush(m_out);
    }

    void Call(const char *fn, const int *ret) override {
        const std::string result = ret != nullptr ? Ret(*ret) : "";
        Print(Block(m_s.step, "app -> module", std::string("oqDevSDK_DoorLock_") + fn + result));
    }

    void RecvMsg(int type, const uint8_t *handed, const uint8_t *after, uint32_t len,
                 int ret) override {
        std::string text = Block(m_s.device, "module -> lock",
                                 "Recv_Msg type " + Named(type, ToDeviceName(type)) + ", " +
                                     std::to_string(len) + " bytes" + Ret(ret));
        text += FieldsText(DescribeToDevice(type, handed, len), true);
        if (ret == 0) {
            Fields out = DescribeOutputs(type, after, len);
            if (!out.empty()) {
                text += "\n" + std::string(kIndent) + m_s.dim + "lock wrote:" + m_s.off;
                text += FieldsText(out, false);
            }
        }
        Print(text);
    }

    void GetInfo(int type, const uint8_t *filled, uint32_t len, int ret) override {
        std::string text = Block(m_s.device, "lock -> module",
                                 "Get_Runtime_Info type " + Named(type, FromDeviceName(type)) +
                                     ", " + std::to_string(len) + " bytes" + Ret(ret));
        if (ret == 0) {
            text += FieldsText(DescribeFromDevice(type, filled, len), true);
        }
        // A successful read inside a poll only matters when the item changed.
        Print(text, m_inPoll && ret == 0);
    }

    void Host(const std::string &text) override {
        Json ev(text);
        if (!ev.ok()) {
            Print("  " + text);
            return;
        }
        const std::string kind = ev.str("ev");
        if (kind == "deliver") {
            Deliver(ev);
        } else if (kind == "send") {
            Send(ev);
        } else if (kind == "log") {
            Log(ev);
        } else if (kind == "item") {
            Item(ev);
        } else {
            Print(std::string("  ") + m_s.host + Other(ev, kind, text) + m_s.off);
        }
    }

  private:
    std::string Block(const char *style, const char *who, const std::string &what) const {
        std::string padded = who;
        padded.resize(std::max<size_t>(padded.size(), 20), ' ');
        return std::string("  ") + style + padded + m_s.off + what;
    }

    std::string Xml(const std::string &body) const {
        std::string text;
        std::istringstream lines(body.empty() ? std::string("(empty)") : PrettyXml(body));
        for (std::string line; std::getline(lines, line);) {
            text += "\n" + std::string(kIndent) + m_s.dim + line + m_s.off;
        }
        return text;
    }

    std::string FieldsText(const Fields &fields, bool allowInline) const {
        std::string joined;
        size_t width = 0;
        for (const Field &f : fields) {
            joined += (joined.empty() ? "" : "  ") + f.first + "=" + f.second;
            width = std::max(width, f.first.size());
        }
        if (fields.empty()) {
            return "";
        }
        if (allowInline && joined.size() <= kInlineFieldsWidth) {
            return "\n" + std::string(kIndent) + joined;
        }
        width = std::min(width, kMaxNameWidth);
        std::string text;
        for (const Field &f : fields) {
            std::string name = f.first;
            name.resize(std::max(width, name.size()), ' ');
            text += "\n" + std::string(kIndent) + name + "  " + f.second;
        }
        return text;
    }

    void Deliver(const Json &ev) {
        if (m_requestPending) {
            m_requestPending = false;
            Print(m_request);
            return;
        }
        const int cmd = ev.num("cmd");
        Print(Block(m_s.incoming, "platform -> module",
                    Named(cmd, CommandName(cmd)) + ", seq " + std::to_string(ev.num("seq"))));
    }

    void Send(const Json &ev) {
        const int cmd = ev.num("cmd");
        const bool response = ev.num("rsp") != 0;
        const int ret = ev.num("ret");
        std::string what = Named(cmd, CommandName(cmd)) + ", seq " + std::to_string(ev.num("seq")) +
                           (response ? ", response" : ", request") + ", version " + ev.str("ver") +
                           ", kernel" + Ret(ret);
        Print(Block(ret == 0 ? m_s.outgoing : m_s.error, "module -> platform", what) +
              Xml(ev.str("body")));
    }

    void Log(const Json &ev) {
        static const char *const kLevels[] = {"?", "E", "W", "I", "D"};
        const int level = ev.num("level");
        if (level >= 4) {
            return;  // content dumps repeat the XML shown with each message
        }
        std::string text = ev.str("text");
        if (!text.empty() && text.back() == '\n') {
            text.pop_back();
        }
        for (size_t pos = 0; (pos = text.find('\n', pos)) != std::string::npos;) {
            text.replace(pos, 1, "\\n");
        }
        const char *style = level == 1 ? m_s.error : level == 2 ? m_s.warn : m_s.dim;
        const char *tag = level >= 0 && level <= 3 ? kLevels[level] : "?";
        Print(std::string("  ") + style + "log " + tag + "  " + text + m_s.off);
    }

    void Item(const Json &ev) {
        const int id = ev.num("id");
        const int changed = ev.num("changed");
        std::string text = std::string("  ") + m_s.host + "item " + Named(id, StatusName(id)) +
                           ": " + (changed == 1 ? "changed" : "unchanged");
        if (changed != 0 && changed != 1) {
            text += " (" + std::to_string(changed) + ")";
        }
        Flush(changed == 1);
        Print(text + m_s.off);
    }

    std::string Other(const Json &ev, const std::string &kind, const std::string &raw) const {
        if (kind == "call") {
            return raw;
        }
        if (kind == "event") {
            static const char *const kEvents[] = {"registered", "unregistered", "re-registered"};
            const int type = ev.num("type");
            const std::string name = type >= 0 && type <= 2 ? kEvents[type] : "";
            return "kernel: event " + Named(type, name);
        }
        if (kind == "load") {
            return "kernel: load domain " + std::to_string(ev.num("domain")) + " \"" +
                   ev.str("name") + "\" " + ev.str("version") + Ret(ev.num("ret"));
        }
        if (kind == "redirect") {
            const int cmd = ev.num("cmd");
            return "kernel: redirect " + Named(cmd, CommandName(cmd)) + " type \"" +
                   ev.str("type") + "\" to " + std::to_string(ev.num("domain")) +
                   Ret(ev.num("ret"));
        }
        if (kind == "status" || kind == "reset" || kind == "report") {
            std::string text = "status-report: " + (kind == "status" ? ev.str("op") : kind);
            if (ev.has("id")) {
                text += " " + Named(ev.num("id"), StatusName(ev.num("id")));
            }
            return ev.has("ret") ? text + Ret(ev.num("ret")) : text;
        }
        if (kind == "timer") {
            std::string text = "timer: " + ev.str("op");
            if (ev.has("name")) {
                text += " \"" + ev.str("name") + "\"";
            }
            for (const char *key : {"interval", "mode", "id"}) {
                if (ev.has(key)) {
                    text += std::string(" ") + key + " " + std::to_string(ev.num(key));
                }
            }
            return text;
        }
        return raw;
    }

    // Inside a poll, lines wait for the item's verdict; details of an item
    // that did not change are dropped.
    void Print(const std::string &text, bool detail = false) {
        if (m_inPoll) {
            m_held.emplace_back(detail, text);
            return;
        }
        Write(m_out, text + "\n");
    }

    void Flush(bool withDetails) {
        for (const auto &line : m_held) {
            if (withDetails || !line.first) {
                Write(m_out, line.second + "\n");
            }
        }
        m_held.clear();
    }

    FILE *m_out;
    Style m_s;
    bool m_inPoll = false;
    std::vector<std::pair<bool, std::string>> m_held;
    std::string m_request;
    bool m_requestPending = false;
};

// Whitespace runs with line breaks or tabs (embedded JSON texts) shown as
// one blank, so that every element stays on one line.
std::string Flatten(const char *text) {
    std::string out;
    bool inRun = false;
    for (const char *p = text; *p != '\0'; ++p) {
        const bool breaking = *p == '\n' || *p == '\r' || *p == '\t';
        if (breaking) {
            inRun = true;
            continue;
        }
        if (inRun && !out.empty() && out.back() != ' ' && out.back() != '{' && out.back() != '[' &&
            *p != '}' && *p != ']') {
            out += ' ';
        }
        inRun = false;
        out += *p;
    }
    return out;
}

std::string Escape(const std::string &text, char quote) {
    std::string out;
    for (char c : text) {
        if (c == '&') {
            out += "&amp;";
        } else if (c == '<') {
            out += "&lt;";
        } else if (c == quote) {
            out += quote == '"' ? "&quot;" : "&apos;";
        } else {
            out += c;
        }
    }
    return out;
}

std::string Attributes(const pugi::xml_node &node) {
    std::string out;
    for (const pugi::xml_attribute &attr : node.attributes()) {
        const std::string value = Flatten(attr.value());
        // Single quotes spare the escapes of a JSON text's double quotes.
        const char quote =
            value.find('"') != std::string::npos && value.find('\'') == std::string::npos ? '\''
                                                                                          : '"';
        out += std::string(" ") + attr.name() + "=" + quote + Escape(value, quote) + quote;
    }
    return out;
}

void WriteNode(const pugi::xml_node &node, int depth, std::string &out) {
    const std::string indent(static_cast<size_t>(depth) * 2, ' ');
    switch (node.type()) {
        case pugi::node_declaration:
            out += "<?xml" + Attributes(node) + "?>\n";
            return;
        case pugi::node_pcdata:
        case pugi::node_cdata:
            out += indent + Escape(Flatten(node.value()), '\0') + "\n";
            return;
        case pugi::node_comment:
            out += indent + "<!--" + node.value() + "-->\n";
            return;
        case pugi::node_element:
            break;
        default:
            return;
    }
    out += indent + "<" + node.name() + Attributes(node);
    const pugi::xml_node first = node.first_child();
    if (!first) {
        out += " />\n";
        return;
    }
    if (first == node.last_child() && first.type() == pugi::node_pcdata) {
        out += ">" + Escape(Flatten(first.value()), '\0') + "</" + node.name() + ">\n";
        return;
    }
    out += ">\n";
    for (const pugi::xml_node &child : node.children()) {
        WriteNode(child, depth + 1, out);
    }
    out += indent + "</" + node.name() + ">\n";
}

}  // namespace

std::unique_ptr<Transcript> MakeJsonTranscript(FILE *out) {
    return std::make_unique<JsonTranscript>(out);
}

std::unique_ptr<Transcript> MakeHumanTranscript(FILE *out, bool colour) {
    return std::make_unique<HumanTranscript>(out, colour);
}

std::string HexText(const uint8_t *data, size_t len) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(len * 2);
    for (size_t i = 0; i < len; ++i) {
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 0x0f];
    }
    return text;
}

std::string PrettyXml(const std::string &text) {
    pugi::xml_document doc;
    const unsigned options = pugi::parse_default | pugi::parse_declaration | pugi::parse_comments;
    if (!doc.load_buffer(text.data(), text.size(), options, pugi::encoding_utf8)) {
        return text;
    }
    std::string out;
    for (const pugi::xml_node &node : doc.children()) {
        WriteNode(node, 0, out);
    }
    if (!out.empty() && out.back() == '\n') {
        out.pop_back();
    }
    return out;
}

}  // namespace dlsim
