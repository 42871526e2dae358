// Host SDK document helpers.
#ifndef OQDEV_XML_H
#define OQDEV_XML_H

#include "CMarkupSTL.h"

// The SDK's own request skeleton: the declaration line, then the root element
// "Request", with the position inside it. Returns 0.
int oqdev_xml_init_req(CMarkupSTL &xml);

#endif
