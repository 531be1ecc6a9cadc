# A directory where the trace file of LOCKED-MIB would be written.
mkdir LOCKED-MIB.dbg
