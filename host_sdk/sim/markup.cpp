#include <algorithm>
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

namespace {

const char kDeclarationStart[] = "<?xml";
const char kDeclarationEnd[] = "?>";
// Long enough for any int in decimal.
constexpr size_t kIntTextSize = 16;
// "&#13;" and its terminator.
constexpr size_t kCharRefSize = 8;

// Decimal text of an int, without the cost of a printf.
struct IntText {
    explicit IntText(int value) { *std::to_chars(text, text + sizeof text - 1, value).ptr = '\0'; }
    char text[kIntTextSize];
};

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
    // strchr finds each '&' at the C library's vector speed; requests are
    // scanned whole before every parse.
    for (const char *p = std::strchr(text, '&'); p != nullptr; p = std::strchr(p + 1, '&')) {
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
    const char *end = std::strstr(text, kDeclarationEnd);
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

// Appends the document text to a string. Plain runs go in whole: printing
// is the hot path of the host's largest texts.
class TextOut {
  public:
    explicit TextOut(std::string &out) : m_out(out), m_len(out.size()) {
        m_out.resize(m_out.capacity());
    }
    // The string holds exactly the text written.
    ~TextOut() { m_out.resize(m_len); }
    TextOut(const TextOut &) = delete;
    TextOut &operator=(const TextOut &) = delete;

    void Put(const char *text, size_t len) {
        if (len > m_out.size() - m_len) {
            Grow(len);
        }
        std::memcpy(&m_out[m_len], text, len);
        m_len += len;
    }
    void Put(const char *text) { Put(text, std::strlen(text)); }
    void Put(char c) {
        if (m_len == m_out.size()) {
            Grow(1);
        }
        m_out[m_len++] = c;
    }

  private:
    void Grow(size_t len) {
        const size_t need = m_len + len;
        m_out.resize(need > 2 * m_out.size() ? need : 2 * m_out.size());
    }

    std::string &m_out;
    size_t m_len;
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
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
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
bool HasContent(const pugi::xml_node &node) {
    for (const pugi::xml_node &child : node.children()) {
        if (!IsText(child) || *child.value() != '\0') {
            return true;
        }
    }
    return false;
}

void OpenTag(TextOut &out, const pugi::xml_node &node) {
    out.Put('<');
    out.Put(node.name());
    for (const pugi::xml_attribute &attr : node.attributes()) {
        out.Put(' ');
        out.Put(attr.name());
        out.Put("=\"", 2);
        AppendEscaped(out, attr.value(), true);
        out.Put('"');
    }
    if (HasContent(node)) {
        out.Put('>');
    } else {
        out.Put("/>", 2);
    }
}

void CloseTag(TextOut &out, const pugi::xml_node &node) {
    if (HasContent(node)) {
        out.Put("</", 2);
        out.Put(node.name());
        out.Put('>');
    }
}

// Writes the node itself; the caller walks into an element's children.
void WriteNode(TextOut &out, const pugi::xml_node &node) {
    switch (node.type()) {
        case pugi::node_element:
            OpenTag(out, node);
            break;
        case pugi::node_pcdata:
        case pugi::node_cdata:
            if (RunIsBlank(node)) {
                AppendBlankText(out, node.value());
            } else {
                AppendEscaped(out, node.value(), false);
            }
            break;
        default:
            break;
    }
}

// Compact text of every node under `top`, without recursion so that deep
// documents cannot exhaust the stack.
void Serialize(TextOut &out, const pugi::xml_node &top) {
    pugi::xml_node node = top.first_child();
    while (node) {
        WriteNode(out, node);
        if (node.type() == pugi::node_element && node.first_child()) {
            node = node.first_child();
            continue;
        }
        while (node && !node.next_sibling() && node.parent() != top) {
            node = node.parent();
            CloseTag(out, node);
        }
        node = node.next_sibling();
    }
}

bool HasRoot(const pugi::xml_document &doc) {
    return static_cast<bool>(
        doc.find_child([](const pugi::xml_node &n) { return n.type() == pugi::node_element; }));
}

// One element and nothing but markup the reader ignores around it.
bool IsOneTree(const pugi::xml_document &doc) {
    int roots = 0;
    for (const pugi::xml_node &child : doc.children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            return false;
        }
        roots += child.type() == pugi::node_element ? 1 : 0;
    }
    return roots == 1;
}

// Elements rarely carry more than a few attributes: those are compared pair
// by pair, longer lists are sorted.
constexpr int kPairwiseAttributes = 8;

bool HasDuplicateAttribute(const pugi::xml_node &node, std::vector<const char *> &names) {
    int count = 0;
    for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
        ++count;
    }
    if (count <= kPairwiseAttributes) {
        for (pugi::xml_attribute a = node.first_attribute(); a; a = a.next_attribute()) {
            for (pugi::xml_attribute b = a.next_attribute(); b; b = b.next_attribute()) {
                if (std::strcmp(a.name(), b.name()) == 0) {
                    return true;
                }
            }
        }
        return false;
    }
    names.clear();
    for (const pugi::xml_attribute &attr : node.attributes()) {
        names.push_back(attr.name());
    }
    std::sort(names.begin(), names.end(),
              [](const char *a, const char *b) { return std::strcmp(a, b) < 0; });
    return std::adjacent_find(names.begin(), names.end(), [](const char *a, const char *b) {
               return std::strcmp(a, b) == 0;
           }) != names.end();
}

// The reader accepts repeated attributes; a well-formed document has none.
bool AttributesUnique(const pugi::xml_document &doc) {
    std::vector<const char *> names;
    for (pugi::xml_node node = doc.first_child(); node;) {
        if (node.first_attribute().next_attribute() && HasDuplicateAttribute(node, names)) {
            return false;
        }
        if (node.first_child()) {
            node = node.first_child();
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
    if (node.type() != pugi::node_element) {
        return false;
    }
    return name == nullptr || *name == '\0' || std::strcmp(node.name(), name) == 0;
}

}  // namespace

struct CMarkupSTL::Impl {
    pugi::xml_document doc;
    // The declaration line exactly as it was set, reproduced by GetDoc().
    std::string declaration;
    // The current level: the document or an element.
    pugi::xml_node level;
    // The main position on that level; null before the first element.
    pugi::xml_node main;

    Impl() : level(doc) {}

    void Clear() {
        doc.reset();
        declaration.clear();
        level = doc;
        main = pugi::xml_node();
    }
    bool AtTop() const { return level == doc; }
};

CMarkupSTL::CMarkupSTL() noexcept : m_pImpl(new (std::nothrow) Impl) {}

CMarkupSTL::CMarkupSTL(const char *pszDoc) noexcept : m_pImpl(new (std::nothrow) Impl) {
    SetDoc(pszDoc);
}

CMarkupSTL::~CMarkupSTL() = default;

bool CMarkupSTL::SetDoc(const char *pszDoc) noexcept {
    if (!m_pImpl) {
        return false;
    }
    Impl &d = *m_pImpl;
    d.Clear();
    if (pszDoc == nullptr) {
        return false;
    }
    try {
        size_t declLen = DeclarationLength(pszDoc);
        const char *body = pszDoc + declLen;
        if (declLen > 0 && IsBlank(body)) {
            d.declaration.assign(pszDoc, declLen);
            return true;
        }
        if (HasNulReference(body)) {
            return false;
        }
        // As a fragment, so that stray text around the root is seen and refused.
        pugi::xml_parse_result parsed =
            d.doc.load_string(body, pugi::parse_default | pugi::parse_fragment);
        if (!parsed || !IsOneTree(d.doc) || !AttributesUnique(d.doc)) {
            d.Clear();
            return false;
        }
        d.declaration.assign(pszDoc, declLen);
        return true;
    } catch (...) {
        d.Clear();
        return false;
    }
}

std::string CMarkupSTL::GetDoc() const noexcept {
    if (!m_pImpl) {
        return std::string();
    }
    try {
        std::string out = m_pImpl->declaration;
        {
            TextOut text(out);
            Serialize(text, m_pImpl->doc);
        }
        return out;
    } catch (...) {
        return std::string();
    }
}

bool CMarkupSTL::FindElem(const char *pszName, bool bFromFirst) noexcept {
    if (!m_pImpl) {
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

bool CMarkupSTL::IntoElem() noexcept {
    if (!m_pImpl || !m_pImpl->main) {
        return false;
    }
    m_pImpl->level = m_pImpl->main;
    m_pImpl->main = pugi::xml_node();
    return true;
}

bool CMarkupSTL::OutOfElem() noexcept {
    if (!m_pImpl || m_pImpl->AtTop()) {
        return false;
    }
    m_pImpl->main = m_pImpl->level;
    m_pImpl->level = m_pImpl->level.parent();
    return true;
}

void CMarkupSTL::ResetPos() noexcept {
    if (m_pImpl) {
        m_pImpl->level = m_pImpl->doc;
        m_pImpl->main = pugi::xml_node();
    }
}

bool CMarkupSTL::x_AddElem(const char *pszName, const char *pszData) noexcept {
    if (!m_pImpl || pszName == nullptr || *pszName == '\0') {
        return false;
    }
    Impl &d = *m_pImpl;
    // A document has one root.
    if (d.AtTop() && HasRoot(d.doc)) {
        return false;
    }
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

bool CMarkupSTL::x_AddElem(const char *pszName, int iData) noexcept {
    return x_AddElem(pszName, IntText(iData).text);
}

std::string CMarkupSTL::x_GetData() const noexcept {
    if (!m_pImpl || !m_pImpl->main) {
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

bool CMarkupSTL::x_SetData(const char *pszData) noexcept {
    if (!m_pImpl || !m_pImpl->main) {
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
    // The new text replaces the whole run that x_GetData reads.
    for (pugi::xml_node next = first.next_sibling(); next && IsText(next);
         next = first.next_sibling()) {
        main.remove_child(next);
    }
    return first.set_value(pszData);
}

bool CMarkupSTL::x_SetData(int iData) noexcept {
    return x_SetData(IntText(iData).text);
}

std::string CMarkupSTL::x_GetAttrib(const char *pszName) const noexcept {
    if (!m_pImpl || !m_pImpl->main || pszName == nullptr) {
        return std::string();
    }
    try {
        return std::string(m_pImpl->main.attribute(pszName).value());
    } catch (...) {
        return std::string();
    }
}

bool CMarkupSTL::x_SetAttrib(const char *pszName, const char *pszValue) noexcept {
    if (!m_pImpl || !m_pImpl->main || pszName == nullptr || *pszName == '\0') {
        return false;
    }
    pugi::xml_node &main = m_pImpl->main;
    pugi::xml_attribute attr = main.attribute(pszName);
    if (!attr) {
        attr = main.append_attribute(pszName);
        // The name is stored on its own and may fail alone: an attribute left
        // without a name would make the document unreadable.
        if (attr && std::strcmp(attr.name(), pszName) != 0) {
            main.remove_attribute(attr);
            return false;
        }
    }
    return attr && attr.set_value(pszValue != nullptr ? pszValue : "");
}

bool CMarkupSTL::x_SetAttrib(const char *pszName, int iValue) noexcept {
    return x_SetAttrib(pszName, IntText(iValue).text);
}

std::string CMarkupSTL::GetTagName() const noexcept {
    if (!m_pImpl || !m_pImpl->main) {
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

}  // namespace oqsim
