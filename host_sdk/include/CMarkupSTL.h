// Host SDK XML document: a document text with a current position.
//
// The position is a level (the document's top, or the children of an element)
// and a main position on that level: one element, or none ("before the
// first"). Searches and additions work relative to it.
//
// No member throws: an allocation failure inside the class makes the
// operation answer false (or an empty text).
#ifndef CMARKUPSTL_H
#define CMARKUPSTL_H

#include <memory>
#include <string>

class CMarkupSTL {
  public:
    CMarkupSTL() noexcept;
    explicit CMarkupSTL(const char *pszDoc) noexcept;
    ~CMarkupSTL();
    CMarkupSTL(const CMarkupSTL &) = delete;
    CMarkupSTL &operator=(const CMarkupSTL &) = delete;

    // Parses pszDoc and resets the position to the top, before the first
    // element. False for text that is not one well-formed element tree (empty
    // text, garbage, several roots, null); the document is then empty. A text
    // holding only the declaration line is kept as the start of a new document
    // so that a root can be added to it.
    bool SetDoc(const char *pszDoc) noexcept;
    // The document text: the declaration line exactly as it was set, then the
    // elements, escaped. Empty when the text cannot be built.
    std::string GetDoc() const noexcept;

    // Finds the next element named pszName on the current level (any element
    // when pszName is null or empty). bFromFirst starts the search at the
    // level's first element; otherwise it starts after the main position. The
    // element found becomes the main position; when none is found the position
    // stays as it was and the answer is false.
    bool FindElem(const char *pszName, bool bFromFirst = false) noexcept;
    // The main element becomes the level, with no main position.
    bool IntoElem() noexcept;
    // Back to the parent level, with the element just left as main position.
    bool OutOfElem() noexcept;
    // Resets the position to the top, before the first element.
    void ResetPos() noexcept;

    // Adds an element on the current level right after the main position (or
    // as the level's last element when there is none) and makes it the main
    // position; the text is set when not empty. At the top of a document
    // without a root it becomes the root.
    bool x_AddElem(const char *pszName, const char *pszData = nullptr) noexcept;
    bool x_AddElem(const char *pszName, int iData) noexcept;

    // Text of the main element; empty without a main position.
    std::string x_GetData() const noexcept;
    bool x_SetData(const char *pszData) noexcept;
    bool x_SetData(int iData) noexcept;

    // An attribute of the main element; empty when absent.
    std::string x_GetAttrib(const char *pszName) const noexcept;
    bool x_SetAttrib(const char *pszName, const char *pszValue) noexcept;
    bool x_SetAttrib(const char *pszName, int iValue) noexcept;

    // The tag name of the main element; empty without a main position.
    std::string GetTagName() const noexcept;

  private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

#endif
