// Process-wide state reset.
#include "folderlock.h"
#include "mib2trap.h"

// Releases every piece of state that outlives the compiler objects.  The
// writers' lists of names already written borrow labels from parsed records
// and import entries, so they go first; the import list and the tokenizer's
// push-back character follow, and the folder locks still held are released.
// Afterwards a new compile starts as in a fresh process.
void ResetProcessState() {
    ResetImportWriterState();
    ResetUserTypeWriterState();
    ResetPrintMIBState();
    ResetImportFiles();
    ResetTokenizerState();
    ReleaseFolderLocks();
}
