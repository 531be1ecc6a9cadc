// Placeholder: replaced by the real implementation.
#include "mib2trap.h"
void ResetProcessState() {}
