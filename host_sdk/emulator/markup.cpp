#include <algorithm>
#include <atomic>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <pugixml.hpp>
#include <vector>

#include "CMarkupSTL.h"
#include "oqdev_sim.h"
#include "sim_internal.h"

namespace {

const char kDeclarationStart[] = "<?xml";
const char kDeclarationEnd[] = "?>";
// Most of the host's messages print within this many bytes.
constexpr size_t kLocalTextSize = 512;
// Long enough for any int in decimal.
constexpr size_t kIntTextSize = 16;
// "&#13;" and its terminator.
constexpr size_t kCharRefSize = 8;

// Decimal text of an int, without the cost of a printf.
struct IntText {
    explicit IntText(int value) { *std::to_chars(text, text + sizeof text - 1, value).ptr = '\0'; }
    char text[kIntTextSize];
};

// The armed fault of oqsim::xml_fail_at; -1 when none.
struct XmlFaultState {
    std::atomic<int> kind{-1};
    std::atomic<long> at{0};
    std::atomic<long> calls{0};
    std::atomic<bool> met{false};
};
XmlFaultState g_xmlFault;

// Called first by every member with the kind of operation it is (kThrow for
// those only a throwing fault counts). True when this call is to fail; a
// throwing fault throws from here.
bool Faulted(oqsim::XmlFault op) {
    const int kind = g_xmlFault.kind.load(std::memory_order_relaxed);
    if (kind < 0) {
        return false;
    }
    const bool throwing = kind == static_cast<int>(oqsim::XmlFault::kThrow);
    if (!throwing && kind != static_cast<int>(op)) {
        return false;
    }
    if (g_xmlFault.calls.fetch_add(1) + 1 != g_xmlFault.at.load()) {
        return false;
    }
    g_xmlFault.met.store(true);
    if (throwing) {
        throw std::bad_alloc();
    }
    return true;
}

void *DefaultAlloc(size_t size) {
    return std::malloc(size);
}
void DefaultFree(void *p) {
    std::free(p);
}

bool IsBlank(const char *p) {
    for (; *p != '\0'; ++p) {
        if (*p != ' ' && *p != '\t' && *p != '\r' && *p != '\n') {
            return false;
        }
    }
    return true;
}

// "&#0;" (in any spelling) names a character XML does not allow; decoded it
// would cut every C text that holds it.
bool HasNulReference(const char *text) {
    // memchr finds each '&' at the C library's vector speed; requests are
    // scanned whole before every parse. Bounded by the length, not strchr:
    // a sanitizer checks a strchr's whole remaining text on every call, which
    // made a text full of entities quadratic.
    const char *end = text + std::strlen(text);
    for (const char *p = text;
         (p = static_cast<const char *>(std::memchr(p, '&', static_cast<size_t>(end - p)))) !=
         nullptr;
         ++p) {
        if (p[1] != '#') {
            continue;
        }
        const char *q = p + 2;
        if (*q == 'x' || *q == 'X') {
            ++q;
        }
        const char *digits = q;
        while (*q == '0') {
            ++q;
        }
        if (q != digits && *q == ';') {
            return true;
        }
    }
    return false;
}

// Length of the declaration line at the start of the text, its line end
// included; 0 when the text does not start with one.
size_t DeclarationLength(const char *text) {
    if (std::strncmp(text, kDeclarationStart, sizeof kDeclarationStart - 1) != 0) {
        return 0;
    }
    const char *end = std::strchr(text, kDeclarationEnd[0]);
    while (end != nullptr && end[1] != kDeclarationEnd[1]) {
        end = std::strchr(end + 1, kDeclarationEnd[0]);
    }
    if (end == nullptr) {
        return 0;
    }
    end += sizeof kDeclarationEnd - 1;
    if (*end == '\r') {
        ++end;
    }
    if (*end == '\n') {
        ++end;
    }
    return static_cast<size_t>(end - text);
}

// Collects the document text: in a local buffer while it is short, so that
// a small message costs one allocation of its exact size; longer texts move
// into the string and grow by doubling. Plain runs go in whole: printing is
// the hot path of the host's largest texts.
class TextOut {
  public:
    explicit TextOut(std::string &out) : m_out(out) {}
    TextOut(const TextOut &) = delete;
    TextOut &operator=(const TextOut &) = delete;

    void Put(const char *text, size_t len) {
        if (len > m_cap - m_len) {
            Grow(len);
        }
        std::memcpy(m_data + m_len, text, len);
        m_len += len;
    }
    void Put(const char *text) { Put(text, std::strlen(text)); }
    void Put(char c) {
        if (m_len == m_cap) {
            Grow(1);
        }
        m_data[m_len++] = c;
    }
    // Leaves exactly the text written in the string.
    void Finish() {
        if (m_data == m_local) {
            m_out.assign(m_local, m_len);
        } else {
            m_out.resize(m_len);
        }
    }

  private:
    void Grow(size_t len) {
        const size_t need = m_len + len;
        const size_t size = need > 2 * m_cap ? need : 2 * m_cap;
        const bool local = m_data == m_local;
        m_out.resize(size);
        if (local) {
            std::memcpy(&m_out[0], m_local, m_len);
        }
        m_data = &m_out[0];
        m_cap = m_out.size();
    }

    std::string &m_out;
    char m_local[kLocalTextSize];
    char *m_data = m_local;
    size_t m_cap = kLocalTextSize;
    size_t m_len = 0;
};

// Characters written as an entity: & < > everywhere, " and the line and
// tab characters in attributes, the carriage return everywhere. The
// terminator is flagged too, so that a scan stops at it.
struct EscapeTable {
    EscapeTable() {
        for (unsigned char c : {'\0', '&', '<', '>', '\r'}) {
            text[c] = attribute[c] = true;
        }
        for (unsigned char c : {'"', '\n', '\t'}) {
            attribute[c] = true;
        }
    }
    bool text[UCHAR_MAX + 1] = {};
    bool attribute[UCHAR_MAX + 1] = {};
};
const EscapeTable kEscapes;

// The entity of a character the escape table flags.
const char *Entity(char c, bool inAttribute) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return inAttribute ? "&quot;" : "\"";
        case '\r':
            return "&#13;";
        case '\n':
            return inAttribute ? "&#10;" : "\n";
        case '\t':
            return inAttribute ? "&#9;" : "\t";
        default:
            return "";
    }
}

// Plain runs are written whole: printing is the hot path of the host's
// largest texts.
void AppendEscaped(TextOut &out, const char *text, bool inAttribute) {
    const bool *special = inAttribute ? kEscapes.attribute : kEscapes.text;
    for (;;) {
        const char *run = text;
        while (!special[static_cast<unsigned char>(*text)]) {
            ++text;
        }
        out.Put(run, static_cast<size_t>(text - run));
        if (*text == '\0') {
            return;
        }
        out.Put(Entity(*text, inAttribute));
        ++text;
    }
}

bool IsText(const pugi::xml_node &node) {
    const pugi::xml_node_type type = node.type();
    return type == pugi::node_pcdata || type == pugi::node_cdata;
}

// Adjacent text and CDATA nodes print as one text.
bool RunIsBlank(pugi::xml_node node) {
    while (node.previous_sibling() && IsText(node.previous_sibling())) {
        node = node.previous_sibling();
    }
    for (; node && IsText(node); node = node.next_sibling()) {
        if (!IsBlank(node.value())) {
            return false;
        }
    }
    return true;
}

// A text of blanks only is dropped by the reader as layout; written as
// character references it reads back as the same text.
void AppendBlankText(TextOut &out, const char *text) {
    char ref[kCharRefSize];
    for (const char *p = text; *p != '\0'; ++p) {
        std::snprintf(ref, sizeof ref, "&#%d;", *p);
        out.Put(ref);
    }
}

// Empty CDATA sections print as nothing, so they do not open an element.
bool HasContent(pugi::xml_node child) {
    for (; child; child = child.next_sibling()) {
        if (!IsText(child) || *child.value() != '\0') {
            return true;
        }
    }
    return false;
}

void OpenTag(TextOut &out, const pugi::xml_node &node, bool content) {
    out.Put('<');
    out.Put(node.name());
    for (pugi::xml_attribute attr = node.first_attribute(); attr; attr = attr.next_attribute()) {
        out.Put(' ');
        out.Put(attr.name());
        out.Put("=\"", 2);
        AppendEscaped(out, attr.value(), true);
        out.Put('"');
    }
    if (content) {
        out.Put('>');
    } else {
        out.Put("/>", 2);
    }
}

void CloseTag(TextOut &out, const pugi::xml_node &node) {
    if (HasContent(node.first_child())) {
        out.Put("</", 2);
        out.Put(node.name());
        out.Put('>');
    }
}

void WriteText(TextOut &out, const pugi::xml_node &node) {
    const char *value = node.value();
    // Only a run made of blanks alone needs a look at its neighbours.
    if (IsBlank(value) && RunIsBlank(node)) {
        AppendBlankText(out, value);
    } else {
        AppendEscaped(out, value, false);
    }
}

// Compact text of every node under `top`, without recursion so that deep
// documents cannot exhaust the stack.
void Serialize(TextOut &out, const pugi::xml_node &top) {
    pugi::xml_node node = top.first_child();
    while (node) {
        const pugi::xml_node_type type = node.type();
        if (type == pugi::node_element) {
            const pugi::xml_node child = node.first_child();
            OpenTag(out, node, HasContent(child));
            if (child) {
                node = child;
                continue;
            }
        } else if (type == pugi::node_pcdata || type == pugi::node_cdata) {
            WriteText(out, node);
        }
        for (;;) {
            const pugi::xml_node next = node.next_sibling();
            if (next) {
                node = next;
                break;
            }
            node = node.parent();
            if (node == top) {
                node = pugi::xml_node();
                break;
            }
            CloseTag(out, node);
        }
    }
}

bool HasRoot(const pugi::xml_document &doc) {
    for (pugi::xml_node node = doc.first_child(); node; node = node.next_sibling()) {
        if (node.type() == pugi::node_element) {
            return true;
        }
    }
    return false;
}

// Elements rarely carry more than a few attributes: those are compared pair
// by pair, longer lists are sorted.
constexpr int kPairwiseAttributes = 8;

bool HasDuplicateAttribute(pugi::xml_attribute first, std::vector<const char *> &names) {
    const char *few[kPairwiseAttributes];
    int count = 0;
    pugi::xml_attribute a = first;
    for (; a && count < kPairwiseAttributes; a = a.next_attribute()) {
        few[count++] = a.name();
    }
    if (!a) {
        for (int i = 0; i < count; ++i) {
            for (int j = i + 1; j < count; ++j) {
                if (std::strcmp(few[i], few[j]) == 0) {
                    return true;
                }
            }
        }
        return false;
    }
    names.assign(few, few + count);
    for (; a; a = a.next_attribute()) {
        names.push_back(a.name());
    }
    std::sort(names.begin(), names.end(),
              [](const char *x, const char *y) { return std::strcmp(x, y) < 0; });
    return std::adjacent_find(names.begin(), names.end(), [](const char *x, const char *y) {
               return std::strcmp(x, y) == 0;
           }) != names.end();
}

// One element and nothing but markup the reader ignores around it, and no
// element repeating an attribute (the reader accepts that; a well-formed
// document has none). One walk over the tree, without recursion.
bool IsOneWellFormedTree(const pugi::xml_document &doc) {
    int roots = 0;
    for (pugi::xml_node child = doc.first_child(); child; child = child.next_sibling()) {
        const pugi::xml_node_type type = child.type();
        if (type == pugi::node_pcdata || type == pugi::node_cdata) {
            return false;
        }
        roots += type == pugi::node_element ? 1 : 0;
    }
    if (roots != 1) {
        return false;
    }
    std::vector<const char *> names;
    for (pugi::xml_node node = doc.first_child(); node;) {
        const pugi::xml_attribute first = node.first_attribute();
        if (first && first.next_attribute() && HasDuplicateAttribute(first, names)) {
            return false;
        }
        if (pugi::xml_node child = node.first_child()) {
            node = child;
            continue;
        }
        while (node && !node.next_sibling()) {
            node = node.parent();
        }
        node = node ? node.next_sibling() : node;
    }
    return true;
}

// An element's text is its first run of text and CDATA sections: a parsed
// "a<![CDATA[b]]>" reads as "ab", as it does once printed. Empty CDATA
// sections print as nothing, so a run starts at the first text with content.
pugi::xml_node FirstText(const pugi::xml_node &element) {
    return element.find_child(
        [](const pugi::xml_node &node) { return IsText(node) && *node.value() != '\0'; });
}

bool NameIs(const pugi::xml_node &node, const char *name) {
    // Declarations and processing instructions carry names too.
    if (name != nullptr && *name != '\0' && std::strcmp(node.name(), name) != 0) {
        return false;
    }
    return node.type() == pugi::node_element;
}

}  // namespace

// Declaration lines up to this length are kept inside the object: the
// usual one costs no allocation per document.
constexpr size_t kInlineDeclaration = 64;

struct CMarkupSTL::Impl {
    pugi::xml_document doc;
    // The current level: the document or an element.
    pugi::xml_node level;
    // The main position on that level; null before the first element.
    pugi::xml_node main;
    // The document holds something a reset has to free.
    bool used = false;

    Impl() : level(doc) {}

    void Clear() {
        if (used) {
            doc.reset();
            used = false;
        }
        ClearDeclaration();
        level = doc;
        main = pugi::xml_node();
    }
    bool AtTop() const { return level == doc; }

    // The declaration line exactly as it was set, reproduced by GetDoc().
    void SetDeclaration(const char *text, size_t len) {
        if (len < sizeof m_declShort) {
            std::memcpy(m_declShort, text, len);
            m_declShort[len] = '\0';
        } else {
            m_declLong.assign(text, len);
        }
        m_declLen = len;
    }
    const char *Declaration() const {
        return m_declLen < sizeof m_declShort ? m_declShort : m_declLong.c_str();
    }
    size_t DeclarationSize() const { return m_declLen; }

  private:
    void ClearDeclaration() {
        m_declLen = 0;
        m_declShort[0] = '\0';
        m_declLong.clear();
    }

    char m_declShort[kInlineDeclaration] = {};
    size_t m_declLen = 0;
    std::string m_declLong;
};

CMarkupSTL::CMarkupSTL() : m_pImpl((Faulted(oqsim::XmlFault::kThrow), new (std::nothrow) Impl)) {}

CMarkupSTL::CMarkupSTL(const char *pszDoc)
    : m_pImpl((Faulted(oqsim::XmlFault::kThrow), new (std::nothrow) Impl)) {
    SetDoc(pszDoc);
}

CMarkupSTL::~CMarkupSTL() = default;

bool CMarkupSTL::SetDoc(const char *pszDoc) {
    if (!m_pImpl) {
        return false;
    }
    const bool faulted = Faulted(oqsim::XmlFault::kSet);
    Impl &d = *m_pImpl;
    d.Clear();
    if (pszDoc == nullptr || faulted) {
        return false;
    }
    try {
        size_t declLen = DeclarationLength(pszDoc);
        const char *body = pszDoc + declLen;
        if (declLen > 0 && IsBlank(body)) {
            d.SetDeclaration(pszDoc, declLen);
            return true;
        }
        if (HasNulReference(body)) {
            return false;
        }
        // As a fragment, so that stray text around the root is seen and refused.
        d.used = true;
        pugi::xml_parse_result parsed =
            d.doc.load_string(body, pugi::parse_default | pugi::parse_fragment);
        if (!parsed || !IsOneWellFormedTree(d.doc)) {
            d.Clear();
            return false;
        }
        d.SetDeclaration(pszDoc, declLen);
        return true;
    } catch (...) {
        d.Clear();
        return false;
    }
}

std::string CMarkupSTL::GetDoc() const {
    if (Faulted(oqsim::XmlFault::kThrow) || !m_pImpl) {
        return std::string();
    }
    try {
        std::string out;
        TextOut text(out);
        text.Put(m_pImpl->Declaration(), m_pImpl->DeclarationSize());
        Serialize(text, m_pImpl->doc);
        text.Finish();
        return out;
    } catch (...) {
        return std::string();
    }
}

bool CMarkupSTL::FindElem(const char *pszName, bool bFromFirst) {
    if (Faulted(oqsim::XmlFault::kFind) || !m_pImpl) {
        return false;
    }
    Impl &d = *m_pImpl;
    pugi::xml_node node = (bFromFirst || !d.main) ? d.level.first_child() : d.main.next_sibling();
    for (; node; node = node.next_sibling()) {
        if (NameIs(node, pszName)) {
            d.main = node;
            return true;
        }
    }
    return false;
}

bool CMarkupSTL::IntoElem() {
    if (Faulted(oqsim::XmlFault::kThrow) || !m_pImpl || !m_pImpl->main) {
        return false;
    }
    m_pImpl->level = m_pImpl->main;
    m_pImpl->main = pugi::xml_node();
    return true;
}

bool CMarkupSTL::OutOfElem() {
    if (Faulted(oqsim::XmlFault::kThrow) || !m_pImpl || m_pImpl->AtTop()) {
        return false;
    }
    m_pImpl->main = m_pImpl->level;
    m_pImpl->level = m_pImpl->level.parent();
    return true;
}

void CMarkupSTL::ResetPos() {
    if (!Faulted(oqsim::XmlFault::kThrow) && m_pImpl) {
        m_pImpl->level = m_pImpl->doc;
        m_pImpl->main = pugi::xml_node();
    }
}

bool CMarkupSTL::x_AddElem(const char *pszName, const char *pszData) {
    if (Faulted(oqsim::XmlFault::kAdd) || !m_pImpl || pszName == nullptr || *pszName == '\0') {
        return false;
    }
    Impl &d = *m_pImpl;
    // A document has one root.
    if (d.AtTop() && HasRoot(d.doc)) {
        return false;
    }
    d.used = true;
    pugi::xml_node node = d.main ? d.level.insert_child_after(pugi::node_element, d.main)
                                 : d.level.append_child(pugi::node_element);
    if (!node) {
        return false;
    }
    bool ok = node.set_name(pszName);
    if (ok && pszData != nullptr && *pszData != '\0') {
        ok = node.text().set(pszData);
    }
    if (!ok) {
        d.level.remove_child(node);
        return false;
    }
    d.main = node;
    return true;
}

bool CMarkupSTL::x_AddElem(const char *pszName, int iData) {
    return x_AddElem(pszName, IntText(iData).text);
}

std::string CMarkupSTL::x_GetData() const {
    if (Faulted(oqsim::XmlFault::kThrow) || !m_pImpl || !m_pImpl->main) {
        return std::string();
    }
    try {
        std::string text;
        for (pugi::xml_node node = FirstText(m_pImpl->main); node && IsText(node);
             node = node.next_sibling()) {
            text += node.value();
        }
        return text;
    } catch (...) {
        return std::string();
    }
}

bool CMarkupSTL::x_SetData(const char *pszData) {
    if (Faulted(oqsim::XmlFault::kSet) || !m_pImpl || !m_pImpl->main) {
        return false;
    }
    pugi::xml_node &main = m_pImpl->main;
    if (pszData == nullptr || *pszData == '\0') {
        // No text left: the element prints as an empty tag again.
        while (pugi::xml_node text = FirstText(main)) {
            main.remove_child(text);
        }
        return true;
    }
    pugi::xml_node first = FirstText(main);
    if (!first) {
        return main.text().set(pszData);
    }
    // A result code is often written again unchanged.
    if (!IsText(first.next_sibling()) && std::strcmp(first.value(), pszData) == 0) {
        return true;
    }
    // The new text replaces the whole run that x_GetData reads.
    for (pugi::xml_node next = first.next_sibling(); next && IsText(next);
         next = first.next_sibling()) {
        main.remove_child(next);
    }
    return first.set_value(pszData);
}

bool CMarkupSTL::x_SetData(int iData) {
    return x_SetData(IntText(iData).text);
}

std::string CMarkupSTL::x_GetAttrib(const char *pszName) const {
    if (Faulted(oqsim::XmlFault::kThrow) || !m_pImpl || !m_pImpl->main || pszName == nullptr) {
        return std::string();
    }
    try {
        return std::string(m_pImpl->main.attribute(pszName).value());
    } catch (...) {
        return std::string();
    }
}

bool CMarkupSTL::x_SetAttrib(const char *pszName, const char *pszValue) {
    if (Faulted(oqsim::XmlFault::kSet) || !m_pImpl || !m_pImpl->main || pszName == nullptr || *pszName == '\0') {
        return false;
    }
    pugi::xml_node &main = m_pImpl->main;
    pugi::xml_attribute attr = main.attribute(pszName);
    if (!attr) {
        attr = main.append_attribute(pszName);
        // The name is stored on its own and may fail alone: an attribute left
        // without a name would make the document unreadable.
        if (attr && *attr.name() == '\0') {
            main.remove_attribute(attr);
            return false;
        }
    }
    return attr && attr.set_value(pszValue != nullptr ? pszValue : "");
}

bool CMarkupSTL::x_SetAttrib(const char *pszName, int iValue) {
    return x_SetAttrib(pszName, IntText(iValue).text);
}

std::string CMarkupSTL::GetTagName() const {
    if (Faulted(oqsim::XmlFault::kThrow) || !m_pImpl || !m_pImpl->main) {
        return std::string();
    }
    try {
        return std::string(m_pImpl->main.name());
    } catch (...) {
        return std::string();
    }
}

namespace oqsim {

void xml_set_alloc_hooks(void *(*alloc)(size_t), void (*dealloc)(void *)) {
    if (alloc == nullptr || dealloc == nullptr) {
        pugi::set_memory_management_functions(&DefaultAlloc, &DefaultFree);
        return;
    }
    pugi::set_memory_management_functions(alloc, dealloc);
}

void xml_fail_at(XmlFault kind, long n) {
    g_xmlFault.kind.store(-1);
    g_xmlFault.calls.store(0);
    g_xmlFault.met.store(false);
    g_xmlFault.at.store(n);
    if (n > 0) {
        g_xmlFault.kind.store(static_cast<int>(kind));
    }
}

bool xml_fault_met() {
    return g_xmlFault.met.load();
}

namespace detail {

void xml_reset() noexcept {
    xml_fail_at(XmlFault::kThrow, 0);
}

}  // namespace detail

}  // namespace oqsim
