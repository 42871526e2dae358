// Host SDK XML document: a document text with a current position.
//
// The position is a level (the document's top, or the children of an element)
// and a main position on that level: one element, or none ("before the
// first"). Searches and additions work relative to it.
//
// An allocation failure inside the class makes the operation answer false (or
// an empty text). A host's own class may throw std::bad_alloc instead, so no
// member is; the emulator throws only when a test asks it to.
#ifndef CMARKUPSTL_H
#define CMARKUPSTL_H

#include <memory>
#include <string>

class CMarkupSTL {
  public:
    CMarkupSTL();
    explicit CMarkupSTL(const char *pszDoc);
    ~CMarkupSTL();
    CMarkupSTL(const CMarkupSTL &) = delete;
    CMarkupSTL &operator=(const CMarkupSTL &) = delete;

    // Parses pszDoc and resets the position to the top, before the first
    // element. False for text that is not one well-formed element tree (empty
    // text, garbage, several roots, null); the document is then empty. A text
    // holding only the declaration line is kept as the start of a new document
    // so that a root can be added to it.
    bool SetDoc(const char *pszDoc);
    // The document text: the declaration line exactly as it was set, then the
    // elements, escaped. Empty when the text cannot be built.
    std::string GetDoc() const;

    // Finds the next element named pszName on the current level (any element
    // when pszName is null or empty). bFromFirst starts the search at the
    // level's first element; otherwise it starts after the main position. The
    // element found becomes the main position; when none is found the position
    // stays as it was and the answer is false.
    bool FindElem(const char *pszName, bool bFromFirst = false);
    // The main element becomes the level, with no main position.
    bool IntoElem();
    // Back to the parent level, with the element just left as main position.
    bool OutOfElem();
    // Resets the position to the top, before the first element.
    void ResetPos();

    // Adds an element on the current level right after the main position (or
    // as the level's last element when there is none) and makes it the main
    // position; the text is set when not empty. At the top of a document
    // without a root it becomes the root.
    bool x_AddElem(const char *pszName, const char *pszData = nullptr);
    bool x_AddElem(const char *pszName, int iData);

    // Text of the main element; empty without a main position.
    std::string x_GetData() const;
    bool x_SetData(const char *pszData);
    bool x_SetData(int iData);

    // An attribute of the main element; empty when absent.
    std::string x_GetAttrib(const char *pszName) const;
    bool x_SetAttrib(const char *pszName, const char *pszValue);
    bool x_SetAttrib(const char *pszName, int iValue);

    // The tag name of the main element; empty without a main position.
    std::string GetTagName() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

#endif
