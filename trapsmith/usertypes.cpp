// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
int CMib2Trap::ParseUserType(char*, char*, node*) { return 0; }
int CMib2Trap::ParseTextualConvention(char*, char*, node*) { return 0; }
MibUserType* CMib2Trap::CreateUserTypeElement(const char*, int, MibEnumList*, const char*, const char*) { return nullptr; }
bool CMib2Trap::AppendUserTypeOnTokenList(MibUserType*, MibTokenList**) { return false; }
bool CMib2Trap::CompareUserTypes(MibUserType*, MibUserType*) { return false; }
MibUserType* CMib2Trap::FindUserTypeOnTokenList(const char*, MibTokenList*) { return nullptr; }
MibEnumList* CMib2Trap::DupEnumList(MibEnumList*) { return nullptr; }
void CMib2Trap::AppendObjDefnOnTokenList(node*, MibTokenList**) {}
void CMib2Trap::FreeUserTypeElement(MibUserType*) {}
void CMib2Trap::ReleaseUserTypeList() {}
