// The compiler object: construction, destruction and the two entry points,
// Initialize (opens the trace and intermediate files) and CompileMIB (parses
// the MIB file and writes its definitions).
//
// Modes ("pass"): 1 compiles the main module and writes its definitions to the
// intermediate file; 2 parses an imported module and writes trace records
// only; 3 writes like mode 1 with a "#-MIBFILE" line ahead of the
// definitions, and a failed parse does not fail the compile.
#include <cstdlib>
#include <cstring>
#include <string>

#include "mib2trap.h"

namespace {

constexpr size_t kNameBuf = sizeof(CMib2Trap::m_tmpFileStr);

bool WritesDefinitions(int pass) { return pass == 1 || pass == 3; }

// The name cut at its first "." (see BaseNameLength) followed by `suffix`.
std::string CutName(const char* szName, const char* suffix) {
    return std::string(szName, BaseNameLength(szName)) + suffix;
}

}  // namespace

size_t BaseNameLength(const char* szName) {
    // strtok(name, ".") semantics on a copy that keeps its leading dots: the
    // token starts after the leading dots and ends at the next ".".
    size_t start = strspn(szName, ".");
    if (szName[start] == '\0') return start;  // nothing but dots: stays whole
    return start + strcspn(szName + start, ".");
}

CMib2Trap::CMib2Trap()
    : m_strCfgDir(nullptr),
      m_strOutFile(nullptr),
      m_strTrapFile(nullptr),
      m_strInFile(nullptr),
      m_pInFile(nullptr),
      m_tmpFileStr(),
      m_nLine(0),
      m_nNameLine(0),
      m_nTTLine(0),
      m_aTTLine(),
      m_pBuckets(),
      m_szMibName(nullptr),
      m_szModName(),
      m_mibStartLine(0),
      m_HashTbl(),
      m_bModuleParse(false),
      m_bMibHasTrapTypeMacro(false),
      m_pUnresObjList(nullptr),
      m_pUserTypeList(nullptr),
      m_head_old_nodes(nullptr) {}

CMib2Trap::~CMib2Trap() {
    // An imported module's object is driven by import resolution, which leaves
    // its trace file open; an object whose Initialize failed half-way holds a
    // stream too.  Each Stream member closes itself with the object; the
    // input is detached from the source first.
    CloseInput();

    // Lists a compile leaves behind when it stopped early.  The unresolved
    // objects are borrowed from module lists: detach them before the list is
    // freed.  User types still on the list were never handed to the type
    // writer, so nobody else refers to them and they are released here.
    if (m_pUnresObjList) {
        FreeObjDefnOnTokenList(m_pUnresObjList);
        FreeTokenList(m_pUnresObjList);
        m_pUnresObjList = nullptr;
    }
    if (m_pUserTypeList) {
        for (MibTokenList* e = m_pUserTypeList->forw; e && e != m_pUserTypeList; e = e->forw) {
            FreeUserTypeElement(reinterpret_cast<MibUserType*>(e->szToken));
            e->szToken = nullptr;
        }
        ReleaseUserTypeList();
    }

    FreeHeap(m_szMibName);
    m_szMibName = nullptr;
}

bool CMib2Trap::Initialize(const char* szFile, const char* szOutFile, int pass) {
    HashInit();

    if (!szFile) {
        printf("\nError in init: mib file not specified");
        return false;
    }

    // A second Initialize on the same object closes the first streams.
    m_pTrapFile.Close();
    m_pCfgFile.Close();

    // The trace file's name lives in m_tmpFileStr: both the given name and the
    // cut name with ".dbg" must fit.  A name that does not fit is reported
    // like a trace file that cannot be created, so no file with a shortened
    // name is ever made.
    std::string traceName = CutName(szFile, ".dbg");
    if (strlen(szFile) >= kNameBuf || traceName.size() >= kNameBuf) {
        DisplayMsg(108, traceName.c_str());
        return false;
    }
    snprintf(m_tmpFileStr, sizeof m_tmpFileStr, "%s", traceName.c_str());
    m_pTrapFile = OpenRewriteStream(m_tmpFileStr);
    if (!m_pTrapFile) {
        DisplayMsg(108, m_tmpFileStr);
        return false;
    }

    if (WritesDefinitions(pass)) {
        if (!szOutFile) {
            printf("\nError in init: intermediate output file not specified");
            return false;
        }
        m_pCfgFile = OpenStream(szOutFile, "w");
        if (!m_pCfgFile) {
            DisplayMsg(108, szOutFile);
            return false;
        }
    }
    return true;
}

bool CMib2Trap::CompileMIB(const char* szFile, int pass) {
    m_strInFile = szFile;
    if (szFile) OpenInput(szFile);
    if (!m_pInFile) {
        DisplayMsg(109, szFile ? szFile : "");
        // The compile is over: leave the object with every stream closed, as
        // after any other finished compile.
        m_pTrapFile.Close();
        m_pCfgFile.Close();
        return false;
    }

    Trace("#-MIBFILE: %s\n\n", szFile);

    ModListPtr list(Parse(pass));
    CloseInput();

    if (list && WritesDefinitions(pass)) {
        bool ok = true;
        if (pass == 3) {
            // The ".mib" name shares the trace name's capacity; a name that
            // does not fit fails like a file that cannot be created.
            std::string mibName = CutName(szFile, ".mib");
            if (mibName.size() >= kNameBuf) {
                DisplayMsg(108, mibName.c_str());
                ok = false;
            } else if (m_pCfgFile) {
                fprintf(m_pCfgFile.get(), "#-MIBFILE: %s\n\n", mibName.c_str());
            }
        }
        if (ok) ok = PrintMIB(list.get(), m_pCfgFile.get());
        if (!ok) {
            m_pTrapFile.Close();
            m_pCfgFile.Close();
            return false;
        }
    }

    m_pTrapFile.Close();
    m_pCfgFile.Close();

    // Only the main module's compile fails on a failed parse.
    return list != nullptr || pass != 1;
}

void CMib2Trap::OpenInput(const char* szFile) {
    m_input = OpenMibInput(szFile);
    m_pInFile = m_input.get();
}

void CMib2Trap::CloseInput() {
    m_source.Attach(nullptr);
    m_input.Close();
    m_pInFile = nullptr;
}
