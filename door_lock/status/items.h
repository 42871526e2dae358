// The status items: change detector, report and cache reset of each.
#ifndef NORLA_STATUS_ITEMS_H
#define NORLA_STATUS_ITEMS_H

namespace norla {

// Status ids.
constexpr int kStatusSwitches = 66;
constexpr int kStatusFingerStore = 67;
constexpr int kStatusBellTone = 68;
constexpr int kStatusPromptTone = 69;
constexpr int kStatusLockStatus = 70;
constexpr int kStatusUnlockEvents = 71;
constexpr int kStatusUserInfo = 72;
constexpr int kStatusPower = 73;
constexpr int kStatusFaceUnlock = 97;
constexpr int kStatusAutoFacePlan = 121;

// Report command ids.
constexpr int kCmdReportSwitches = 12355;
constexpr int kCmdReportStatus = 12382;
constexpr int kCmdReportLockStatus = 14736;
constexpr int kCmdReportUnlockEvents = 14738;
constexpr int kCmdReportUserInfo = 14740;
constexpr int kCmdReportAutoFacePlan = 12366;

int DoorOpenRemindSwitch_IsChanged() noexcept;
int DoorOpenRemindSwitch_Report(int arg) noexcept;
int DoorOpenRemindSwitch_Reset() noexcept;

int KeyVal_DoorFingerStore_IsChanged() noexcept;
int KeyVal_DoorFingerStore_Report(int arg) noexcept;
int KeyVal_DoorFingerStore_Reset() noexcept;

int KeyVal_DoorBellTone_IsChanged() noexcept;
int KeyVal_DoorBellTone_Report(int arg) noexcept;
int KeyVal_DoorBellTone_Reset() noexcept;

int KeyVal_DoorPromptTone_IsChanged() noexcept;
int KeyVal_DoorPromptTone_Report(int arg) noexcept;
int KeyVal_DoorPromptTone_Reset() noexcept;

int KeyVal_DoorFaceUnlock_IsChanged() noexcept;
int KeyVal_DoorFaceUnlock_Report(int arg) noexcept;
int KeyVal_DoorFaceUnlock_Reset() noexcept;

int LockStatus_IsChanged() noexcept;
int LockStatus_Report(int arg) noexcept;
int LockStatus_Reset() noexcept;

int PowerStatus_IsChanged() noexcept;
int PowerStatus_Report(int arg) noexcept;
int PowerStatus_Reset() noexcept;

int UnlockEvtRec_IsChanged() noexcept;
int UnlockEvtRec_Report(int arg) noexcept;
int UnlockEvtRec_Reset() noexcept;

int UserInfo_IsChanged() noexcept;
int UserInfo_Report(int arg) noexcept;
int UserInfo_Reset() noexcept;

int DoorAutoFaceUnlockPlan_IsChanged() noexcept;
int DoorAutoFaceUnlockPlan_Report(int arg) noexcept;
int DoorAutoFaceUnlockPlan_Reset() noexcept;

}  // namespace norla

#endif
