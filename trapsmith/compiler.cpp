// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
CMib2Trap::CMib2Trap() {}
CMib2Trap::~CMib2Trap() {}
bool CMib2Trap::Initialize(const char*, const char*, int) { return false; }
bool CMib2Trap::CompileMIB(const char*, int) { return false; }
