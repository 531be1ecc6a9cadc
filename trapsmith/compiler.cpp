// The compiler object: construction, destruction and the two entry points,
// Initialize (opens the trace and intermediate files) and CompileMIB (parses
// the MIB file and writes its definitions).
//
// Modes ("pass"): 1 compiles the main module and writes its definitions to the
// intermediate file; 2 parses an imported module and writes trace records
// only; 3 writes like mode 1 with a "#-MIBFILE" line ahead of the
// definitions, and a failed parse does not fail the compile.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "mib2trap.h"

namespace {

constexpr size_t kNameBuf = sizeof(CMib2Trap::m_tmpFileStr);

bool WritesDefinitions(int pass) { return pass == 1 || pass == 3; }

// The name cut at its first "." (see BaseNameLength) followed by `suffix`.
std::string CutName(const char* szName, const char* suffix) {
    return std::string(szName, BaseNameLength(szName)) + suffix;
}

constexpr size_t kStreamBuffer = 64 * 1024;

// The open streams of OpenStream and OpenRewriteStream with their buffers; a
// handful at most are open at once.
struct OpenedStream {
    FILE* file;
    char* buffer;     // null when the stream kept its default buffer
    bool cutAtClose;  // a regular file written over: cut where writing ended
};
std::vector<OpenedStream> openedStreams;

// Gives the stream a buffer of its own: kStreamBuffer bytes, or for a file
// read whole no more than the file.
void Register(FILE* f, bool reading, bool cutAtClose) {
    size_t size = kStreamBuffer;
    struct stat st;
    if (reading && fstat(fileno(f), &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= 0 &&
        static_cast<uint64_t>(st.st_size) < kStreamBuffer)
        size = (static_cast<size_t>(st.st_size) / 4096 + 1) * 4096;
    char* buffer = static_cast<char*>(malloc(size));
    // Without a buffer of its own the stream keeps the default one.
    if (buffer != nullptr && setvbuf(f, buffer, _IOFBF, size) != 0) {
        free(buffer);
        buffer = nullptr;
    }
    if (buffer != nullptr || cutAtClose) openedStreams.push_back({f, buffer, cutAtClose});
}

}  // namespace

FILE* OpenStream(const char* szName, const char* szMode) {
    FILE* f = fopen(szName, szMode);
    if (f != nullptr) Register(f, szMode[0] == 'r', false);
    return f;
}

FILE* OpenMibInput(const char* szName) {
    FILE* f = fopen(szName, "r");
    if (f != nullptr) setvbuf(f, nullptr, _IONBF, 0);
    return f;
}

FILE* OpenRewriteStream(const char* szName) {
    // The flags of fopen's "w" without O_TRUNC.
    const int fd = open(szName, O_WRONLY | O_CREAT, 0666);
    if (fd < 0) return nullptr;
    FILE* f = fdopen(fd, "w");
    if (f == nullptr) {
        close(fd);
        return nullptr;
    }
    struct stat st;
    Register(f, false, fstat(fd, &st) == 0 && S_ISREG(st.st_mode));
    return f;
}

int CloseStream(FILE*& f) {
    if (f == nullptr) return 0;
    auto it = openedStreams.begin();
    while (it != openedStreams.end() && it->file != f) ++it;
    if (it != openedStreams.end() && it->cutAtClose) {
        // What was written ends where the descriptor's offset stands once the
        // buffer is out; whatever the file held beyond it goes.  A file no
        // longer than that is left alone (cutting it would still cost ext4 a
        // truncation).
        fflush(f);
        const off_t end = lseek(fileno(f), 0, SEEK_CUR);
        struct stat st;
        if (end >= 0 && fstat(fileno(f), &st) == 0 && st.st_size > end && ftruncate(fileno(f), end) != 0) {
            // The stream's error state and fclose report a failed write; a
            // file that cannot be cut keeps its old tail, nothing more.
        }
    }
    const int status = fclose(f);
    if (it != openedStreams.end()) {
        free(it->buffer);
        openedStreams.erase(it);
    }
    f = nullptr;
    return status;
}

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
      m_pOutFile(nullptr),
      m_pTrapFile(nullptr),
      m_pInFile(nullptr),
      m_pCfgFile(nullptr),
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
    if (m_head_old_nodes) FreeNodeList(m_head_old_nodes);
    m_head_old_nodes = nullptr;

    // An imported module's object is driven by import resolution, which leaves
    // its trace file open; an object whose Initialize failed half-way holds a
    // stream too.  Close whatever is still open so nothing outlives the object.
    CloseInput();
    CloseStream(m_pTrapFile);
    CloseStream(m_pCfgFile);
    CloseStream(m_pOutFile);

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

    // A second Initialize on the same object must not lose the first streams.
    CloseStream(m_pTrapFile);
    CloseStream(m_pCfgFile);

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

void CMib2Trap::CloseInput() {
    m_source.Attach(nullptr);
    CloseStream(m_pInFile);
}

bool CMib2Trap::CompileMIB(const char* szFile, int pass) {
    m_strInFile = szFile;
    m_pInFile = szFile ? OpenMibInput(szFile) : nullptr;
    if (!m_pInFile) {
        DisplayMsg(109, szFile ? szFile : "");
        // The compile is over: leave the object with every stream closed, as
        // after any other finished compile.
        CloseStream(m_pTrapFile);
        CloseStream(m_pCfgFile);
        return false;
    }

    Trace("#-MIBFILE: %s\n\n", szFile);

    ModListNode* list = Parse(pass);
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
                fprintf(m_pCfgFile, "#-MIBFILE: %s\n\n", mibName.c_str());
            }
        }
        if (ok) ok = PrintMIB(list, m_pCfgFile);
        if (!ok) {
            CloseStream(m_pTrapFile);
            CloseStream(m_pCfgFile);
            FreeModList(list);
            return false;
        }
    }

    CloseStream(m_pTrapFile);
    CloseStream(m_pCfgFile);
    if (list) FreeModList(list);

    // Only the main module's compile fails on a failed parse.
    return list != nullptr || pass != 1;
}
