// Trace file: the whole ".dbg" text a compile leaves, one test per kind of
// definition.  The driver deletes trace files when the run ends, so these
// tests drive the compiler object directly in a scratch directory and read
// the file before anything removes it.
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "test_util.h"

namespace {

std::string Slurp(const std::string& name) {
    FILE* f = fopen(name.c_str(), "rb");
    std::string s = ReadStream(f);
    if (f) fclose(f);
    return s;
}

void Spit(const std::string& name, const std::string& text) {
    FILE* f = fopen(name.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
}

// The records every main compile of T.mib starts with.
const std::string kHead = "#-MIBFILE: T.mib\n\n#-MODULENAME: T-MIB\n\n";

class TraceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetProcessState();
        char tmpl[] = "/tmp/tstraceXXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir_ = tmpl;
        ASSERT_EQ(chdir(dir_.c_str()), 0);
    }
    void TearDown() override {
        ResetProcessState();
        EXPECT_EQ(chdir("/"), 0);
        EXPECT_EQ(system(("rm -rf " + dir_).c_str()), 0);
    }

    // Compiles `text` as the main module T.mib (mode 1) and returns the
    // trace.  CompileMIB closes the trace file but leaves it in place.
    std::string Compile(const std::string& text, bool expectOk = true) {
        ResetProcessState();
        Spit("T.mib", text);
        CMib2Trap mib;
        bool ok = false;
        CAPTURE_STDOUT(printed_, ok = mib.Initialize("T", "T.int", 1) && mib.CompileMIB("T.mib", 1));
        EXPECT_EQ(ok, expectOk) << printed_;
        return Slurp("T.dbg");
    }

    std::string dir_;
    std::string printed_;
};

TEST_F(TraceTest, ObjectType) {
    EXPECT_EQ(Compile("T-MIB DEFINITIONS ::= BEGIN\n"
                      "system OBJECT IDENTIFIER ::= { mib-2 1 }\n"
                      "sysUpTime OBJECT-TYPE\n"
                      "    SYNTAX  TimeTicks\n"
                      "    ACCESS  read-only\n"
                      "    STATUS  mandatory\n"
                      "    ::= { system 3 }\n"
                      "sysLevel OBJECT-TYPE\n"
                      "    SYNTAX      Integer32 (1 .. 10)\n"
                      "    UNITS       \"steps\"\n"
                      "    MAX-ACCESS  read-write\n"
                      "    STATUS      current\n"
                      "    DESCRIPTION \"Two lines,\n"
                      "                 the second indented.\"\n"
                      "    REFERENCE   \"Manual\"\n"
                      "    DEFVAL      { 5 }\n"
                      "    ::= { system sysExtra(9) 4 }\n"
                      "sysFlags OBJECT-TYPE\n"
                      "    SYNTAX      BITS { on(0), off(1) }\n"
                      "    MAX-ACCESS  read-only\n"
                      "    STATUS      current\n"
                      "    ::= { system 5 }\n"
                      "END\n"),
              kHead +
                  "#-START_OBJECTNAME: sysUpTime\n#-OBJECT_SYNTAX: TimeTicks\n"
                  "#-OBJECT_ACCESS: read-only\n#-OBJECT_STATUS: mandatory\n"
                  "#-OBJECT_OID: system 3\n#-END_OBJECTNAME: sysUpTime\n\n"
                  // INTEGER's record has a blank after the keyword and one
                  // before the subtype; the OID names the next-to-last arc.
                  "#-START_OBJECTNAME: sysLevel\n#-OBJECT_SYNTAX: Integer32  (1..10)\n"
                  "#-OBJECT_ACCESS: read-write\n#-OBJECT_STATUS: current\n"
                  "#-OBJECT_DESCRIPTION: \"Two lines,\nthe second indented.\"\n"
                  "#-OBJECT_OID: sysExtra 4\n#-END_OBJECTNAME: sysLevel\n\n"
                  // BITS has no record of its own: only its items are echoed.
                  "#-START_OBJECTNAME: sysFlags\n on(0), off(1)#-OBJECT_ACCESS: read-only\n"
                  "#-OBJECT_STATUS: current\n#-OBJECT_OID: system 5\n#-END_OBJECTNAME: sysFlags\n\n");
}

TEST_F(TraceTest, TrapType) {
    EXPECT_EQ(Compile("T-MIB DEFINITIONS ::= BEGIN\n"
                      "coldStart TRAP-TYPE\n"
                      "    ENTERPRISE  snmp\n"
                      "    DESCRIPTION \"The agent restarted.\"\n"
                      "    --#SEVERITY MAJOR\n"
                      "    ::= 0\n"
                      // Enterprise in braces, no DESCRIPTION: no enterprise
                      // record, and the "--#" line is an ordinary comment.
                      "acmeAlarm TRAP-TYPE\n"
                      "    ENTERPRISE  { acme 5 }\n"
                      "    VARIABLES   { ifIndex, ifType }\n"
                      "    --#TYPE \"Not collected\"\n"
                      "    ::= 7\n"
                      "END\n"),
              kHead +
                  "#-START_TRAPNAME: coldStart\n#-TRAP_ENTERPRISE: snmp\n"
                  "DESCRIPTION: \"The agent restarted.\"\n#SEVERITY MAJOR\n"
                  "#-TRAP_SPECIFIC_ID: 0\n#-RULE_HANDLER: \n#-NOTICE_HANDLER: \n#-ENABLE: true\n"
                  "#-TRAPEND: coldStart\n\n"
                  "#-START_TRAPNAME: acmeAlarm\n#-VARBIND_COUNT: 2\n"
                  "#-TRAP_SPECIFIC_ID: 7\n#-RULE_HANDLER: \n#-NOTICE_HANDLER: \n#-ENABLE: true\n"
                  "#-TRAPEND: acmeAlarm\n\n");
}

TEST_F(TraceTest, NotificationType) {
    // LINE is the line being read when the keyword has been read, not the
    // line of the descriptor.
    EXPECT_EQ(Compile("T-MIB DEFINITIONS ::= BEGIN\n"
                      "fooTraps OBJECT IDENTIFIER ::= { enterprises 42 }\n"
                      "fooEvent\n"
                      "    NOTIFICATION-TYPE\n"
                      "    OBJECTS     { ifIndex, ifType }\n"
                      "    STATUS      current\n"
                      "    DESCRIPTION \"Something happened.\"\n"
                      "    --#TYPE \"Foo event\"\n"
                      "    -- an ordinary comment\n"
                      "    --#SEVERITY MINOR\n"
                      "    ::= { fooTraps 1 }\n"
                      "END\n"),
              kHead +
                  "TRAPSTART: fooEvent\nLINE: 4\nOBJECT: ifIndex\nOBJECT: ifType\n"
                  "#TYPE \"Foo event\"\n#SEVERITY MINOR\nTRAPEND: fooEvent\n"
                  "#-OBJECT_OID: fooTraps 1\n#-END_OBJECTNAME: fooEvent\n\n");
}

TEST_F(TraceTest, FailedObjectTypeEndsWithEitherEndRecord) {
    // An unreadable DESCRIPTION text ends with the form that names the line.
    EXPECT_EQ(Compile("T-MIB DEFINITIONS ::= BEGIN\n"
                      "ifInErrors OBJECT-TYPE\n"
                      "    SYNTAX      Counter32\n"
                      "    MAX-ACCESS  read-only\n"
                      "    STATUS      current\n"
                      "    DESCRIPTION Errors\n"
                      "    ::= { ifEntry 14 }\n"
                      "END\n",
                      false),
              kHead +
                  "#-START_OBJECTNAME: ifInErrors\n#-OBJECT_SYNTAX: Counter32\n"
                  "#-OBJECT_ACCESS: read-only\n#-OBJECT_STATUS: current\n"
                  "#-END_OBJECTNAME: ifInErrors\nLINE: 6\n");
    // A bad STATUS value ends with the short form.
    EXPECT_EQ(Compile("T-MIB DEFINITIONS ::= BEGIN\n"
                      "ifInErrors OBJECT-TYPE\n"
                      "    SYNTAX      Counter32\n"
                      "    MAX-ACCESS  read-only\n"
                      "    STATUS      active\n"
                      "    ::= { ifEntry 14 }\n"
                      "END\n",
                      false),
              kHead +
                  "#-START_OBJECTNAME: ifInErrors\n#-OBJECT_SYNTAX: Counter32\n"
                  "#-OBJECT_ACCESS: read-only\n#-END_OBJECTNAME: ifInErrors\n\n");
    // A value whose last arc has no number leaves the OID record unfinished.
    EXPECT_EQ(Compile("T-MIB DEFINITIONS ::= BEGIN\n"
                      "ifInErrors OBJECT-TYPE\n"
                      "    SYNTAX      Counter32\n"
                      "    MAX-ACCESS  read-only\n"
                      "    STATUS      current\n"
                      "    ::= { ifEntry ifX(3) errors }\n"
                      "END\n",
                      false),
              kHead +
                  "#-START_OBJECTNAME: ifInErrors\n#-OBJECT_SYNTAX: Counter32\n"
                  "#-OBJECT_ACCESS: read-only\n#-OBJECT_STATUS: current\n#-OBJECT_OID: ifX");
}

TEST_F(TraceTest, ModuleHeaders) {
    // Braces after a module name, IMPORTS and OBJECT IDENTIFIER assignments
    // leave nothing; each module header leaves its name.
    EXPECT_EQ(Compile("A-MIB { iso 3 6 1 4 1 42 } DEFINITIONS ::= BEGIN\n"
                      "IMPORTS enterprises FROM SNMPv2-SMI;\n"
                      "a OBJECT IDENTIFIER ::= { enterprises 42 }\n"
                      "END\n"
                      "B-MIB DEFINITIONS ::= BEGIN\n"
                      "b OBJECT IDENTIFIER ::= { a 1 }\n"
                      "END\n"),
              "#-MIBFILE: T.mib\n\n#-MODULENAME: A-MIB\n\n#-MODULENAME: B-MIB\n\n");
}

TEST_F(TraceTest, OtherSmiv2Macros) {
    // Only the syntax records of SYNTAX and WRITE-SYNTAX clauses, then the OID
    // and END records; inner arcs of a value leave nothing of their own.
    EXPECT_EQ(Compile("T-MIB DEFINITIONS ::= BEGIN\n"
                      "tMIB MODULE-IDENTITY\n"
                      "    LAST-UPDATED \"202401010000Z\"\n"
                      "    ORGANIZATION \"Example\"\n"
                      "    CONTACT-INFO \"noc\"\n"
                      "    DESCRIPTION  \"Test.\"\n"
                      "    ::= { enterprises 42 }\n"
                      "tId OBJECT-IDENTITY\n"
                      "    STATUS current\n"
                      "    DESCRIPTION \"An identity.\"\n"
                      "    ::= { tMIB tIds(4) 1 }\n"
                      "tGroup OBJECT-GROUP\n"
                      "    OBJECTS { tCounter }\n"
                      "    STATUS current\n"
                      "    DESCRIPTION \"G.\"\n"
                      "    ::= { tMIB 5 }\n"
                      "tCompliance MODULE-COMPLIANCE\n"
                      "    STATUS current\n"
                      "    DESCRIPTION \"C.\"\n"
                      "    MODULE\n"
                      "        OBJECT tCounter\n"
                      "            SYNTAX INTEGER { up(1), down(2) }\n"
                      "            WRITE-SYNTAX Integer32 (1..2)\n"
                      "            DESCRIPTION \"Narrowed.\"\n"
                      "    ::= { tMIB 2 }\n"
                      "tAgent AGENT-CAPABILITIES\n"
                      "    PRODUCT-RELEASE \"1.0\"\n"
                      "    STATUS current\n"
                      "    DESCRIPTION \"A.\"\n"
                      "    SUPPORTS T-MIB\n"
                      "        INCLUDES { tGroup }\n"
                      "        VARIATION tName\n"
                      "            SYNTAX DisplayString (SIZE (0..32))\n"
                      "            DESCRIPTION \"Shorter.\"\n"
                      "    ::= { tMIB 3 }\n"
                      "END\n"),
              kHead +
                  "#-OBJECT_OID: enterprises 42\n#-END_OBJECTNAME: tMIB\n\n"
                  "#-OBJECT_OID: tIds 1\n#-END_OBJECTNAME: tId\n\n"
                  "#-OBJECT_OID: tMIB 5\n#-END_OBJECTNAME: tGroup\n\n"
                  "#-OBJECT_SYNTAX: INTEGER {  up(1), down(2) }\n#-OBJECT_SYNTAX: Integer32  (1..2)\n"
                  "#-OBJECT_OID: tMIB 2\n#-END_OBJECTNAME: tCompliance\n\n"
                  "#-OBJECT_SYNTAX: DisplayString (SIZE(0..32))\n"
                  "#-OBJECT_OID: tMIB 3\n#-END_OBJECTNAME: tAgent\n\n");
}

TEST_F(TraceTest, ImportedModuleHasNoMibFileRecord) {
    Spit("IMP-MIB.mib",
         "IMP-MIB DEFINITIONS ::= BEGIN\n"
         "IMPORTS Counter32 FROM SNMPv2-SMI;\n"
         "imp OBJECT IDENTIFIER ::= { enterprises 7 }\n"
         "impTable OBJECT-TYPE\n"
         "    SYNTAX      SEQUENCE OF ImpEntry\n"
         "    MAX-ACCESS  not-accessible\n"
         "    STATUS      current\n"
         "    ::= { imp 1 }\n"
         "END\n");
    char module[] = "IMP-MIB";
    char label[] = "impTable";
    keyword imported{nullptr, label, module};
    importFilesList entry{nullptr, module, &imported};
    FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    {
        CMib2Trap imp;
        ASSERT_TRUE(imp.Initialize(module, nullptr, 2));
        bool ok = false;
        CAPTURE_STDOUT(printed_, ok = imp.ProcessImports(&entry, out));
        EXPECT_TRUE(ok) << printed_;
        // Import resolution leaves the trace file open: flush it to read it.
        if (imp.m_pTrapFile) fflush(imp.m_pTrapFile);
        EXPECT_EQ(Slurp("IMP-MIB.dbg"),
                  "#-MODULENAME: IMP-MIB\n\n"
                  "#-START_OBJECTNAME: impTable\n#-OBJCET_SYNTAX: SEQUENCE OF ImpEntry\n"
                  "#-OBJECT_ACCESS: not-accessible\n#-OBJECT_STATUS: current\n"
                  "#-OBJECT_OID: imp 1\n#-END_OBJECTNAME: impTable\n\n");
    }
    fclose(out);
}

}  // namespace
