// The status items: change detector, report and cache reset of each; their
// ids are in the vocabulary.
#ifndef NORLA_STATUS_ITEMS_H
#define NORLA_STATUS_ITEMS_H

namespace norla {

int DoorOpenRemindSwitch_IsChanged();
int DoorOpenRemindSwitch_Report(int arg);
int DoorOpenRemindSwitch_Reset();

int KeyVal_DoorFingerStore_IsChanged();
int KeyVal_DoorFingerStore_Report(int arg);
int KeyVal_DoorFingerStore_Reset();

int KeyVal_DoorBellTone_IsChanged();
int KeyVal_DoorBellTone_Report(int arg);
int KeyVal_DoorBellTone_Reset();

int KeyVal_DoorPromptTone_IsChanged();
int KeyVal_DoorPromptTone_Report(int arg);
int KeyVal_DoorPromptTone_Reset();

int KeyVal_DoorFaceUnlock_IsChanged();
int KeyVal_DoorFaceUnlock_Report(int arg);
int KeyVal_DoorFaceUnlock_Reset();

int LockStatus_IsChanged();
int LockStatus_Report(int arg);
int LockStatus_Reset();

int PowerStatus_IsChanged();
int PowerStatus_Report(int arg);
int PowerStatus_Reset();

int UnlockEvtRec_IsChanged();
int UnlockEvtRec_Report(int arg);
int UnlockEvtRec_Reset();

int UserInfo_IsChanged();
int UserInfo_Report(int arg);
int UserInfo_Reset();

int DoorAutoFaceUnlockPlan_IsChanged();
int DoorAutoFaceUnlockPlan_Report(int arg);
int DoorAutoFaceUnlockPlan_Reset();

}  // namespace norla

#endif
