#include "status/item_common.h"

#include "CMarkupSTL.h"
#include "messaging/envelope.h"
#include "status/items.h"
#include "vocabulary.h"

namespace norla {
namespace {

constexpr int kIsChangedDevErr = -1;

}  // namespace

int IsChangedFetchError(int devRet) {
    return OQDEVSDK_DOORLOCK_DEV_ERR_IS_REFUSED(devRet) ? kIsChangedDevErr : 0;
}

int SendStatusReport(const char *type, const char *value) {
    CMarkupSTL doc;
    DoorLock_XmlWriter xml(doc);
    DoorLock_xml_init_report(xml).Elem("Status").Attr("Type", type).Attr("Value", value);
    return DoorLock_send_report(xml, kCmdReportStatus);
}

}  // namespace norla
