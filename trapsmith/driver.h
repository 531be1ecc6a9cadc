// The command-line driver: runs one compile from the command line, assembles
// the ".cfg" file from the work files, rotates its backups and removes the
// work files.
#ifndef TRAPSMITH_DRIVER_H
#define TRAPSMITH_DRIVER_H

#include <cstdio>

// The whole program: banner, command line, compile phases, exit status.
int TrapsmithMain(int argc, char** argv);

// Closes stray descriptors (the folder locks held excepted) and removes the
// work files of {base} and of every imported module whose name holds no '/'.
void cleanup(char* szModuleName);

// Renames {base}.cfg_9 .. {base}.cfg_1 and {base}.cfg one number up, oldest
// first; a missing source leaves its target alone.
void RotateBackups(const char* szModuleName);

// Appends the whole of src to dst in blocks of 1021 bytes.  Returns false on
// a read or write error.
bool CopyFileBlocks(FILE* src, FILE* dst);

#endif  // TRAPSMITH_DRIVER_H
