// The XML document class as every host SDK offers it: only these members may
// be called by the module. A host's own class may throw (std::bad_alloc from
// its strings), so nothing here is noexcept.
#ifndef CMARKUPSTL_H
#define CMARKUPSTL_H

#include <string>

class CMarkupSTL {
  public:
    CMarkupSTL();
    ~CMarkupSTL();
    CMarkupSTL(const CMarkupSTL &) = delete;
    CMarkupSTL &operator=(const CMarkupSTL &) = delete;

    bool SetDoc(const char *pszDoc);
    std::string GetDoc() const;

    bool FindElem(const char *pszName, bool bFromFirst = false);
    bool IntoElem();
    bool OutOfElem();

    bool x_AddElem(const char *pszName, const char *pszData = nullptr);
    std::string x_GetData() const;
    bool x_SetData(const char *pszData);
    std::string x_GetAttrib(const char *pszName) const;
    bool x_SetAttrib(const char *pszName, const char *pszValue);
    bool x_SetAttrib(const char *pszName, int iValue);
};

#endif
