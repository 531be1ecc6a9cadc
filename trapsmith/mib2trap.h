// The MIB compiler object CMib2Trap, its parse records and its lists.
//
// One CMib2Trap compiles one MIB file: it owns the input, trace and
// intermediate streams of that compile, the tokenizer state and the lists its
// parsers build.  The records below are plain structures linked by raw
// pointers and zero-filled when created; texts are NUL-terminated byte
// strings.  The records of a parse (parse records, their labels, texts,
// enumerations, lists and annotations, and the module records) live in the
// parse's RecordArena and are released all at once with the module list;
// records that outlive a parse (user types, the import list, the compiler's
// own lists) live on the heap.  records.cpp is the one place that allocates
// and releases either kind.
#ifndef TRAPSMITH_MIB2TRAP_H
#define TRAPSMITH_MIB2TRAP_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "all_by_label.h"
#include "first_by_label.h"
#include "mibsource.h"
#include "pointer_set.h"
#include "stream.h"
#include "text_set.h"

// ---------------------------------------------------------------------------
// Token codes.  The values are stored in parse records (kind, syntax, status)
// and compared by the writers, so they are fixed.
// ---------------------------------------------------------------------------
enum : int {
    TOK_CONTINUE = -1,  // first word of a two-word keyword; never returned
    TOK_EOF = 0,
    TOK_LABEL = 1,
    TOK_SYNTAX = 3,
    TOK_OBJECT_IDENTIFIER = 4,
    TOK_OCTET_STRING = 5,
    TOK_INTEGER = 6,
    TOK_NETWORKADDRESS = 7,
    TOK_IPADDRESS = 8,
    TOK_COUNTER = 9,
    TOK_GAUGE = 10,
    TOK_TIMETICKS = 11,
    TOK_OPAQUE = 12,
    TOK_NULL = 13,
    TOK_SEQUENCE = 14,
    TOK_OF = 15,
    TOK_OBJECT_TYPE = 16,
    TOK_ACCESS = 17,
    TOK_READ_ONLY = 18,
    TOK_READ_WRITE = 19,
    TOK_WRITE_ONLY = 20,
    TOK_NOT_ACCESSIBLE = 21,
    TOK_STATUS = 22,
    TOK_MANDATORY = 23,
    TOK_STATUS_SPARE = 24,
    TOK_OBSOLETE = 25,
    TOK_BRACE = 26,
    TOK_EQUALS = 27,
    TOK_DISPLAYSTRING = 28,
    TOK_DEPRECATED = 29,
    TOK_DESCRIPTION = 30,
    TOK_REFERENCE = 31,
    TOK_INDEX = 32,
    TOK_DEFVAL = 33,
    TOK_DEFINITIONS = 34,
    TOK_BEGIN = 35,
    TOK_END = 36,
    TOK_IMPORTS = 37,
    TOK_EXPORTS = 38,
    TOK_FROM = 39,
    TOK_PHYSADDRESS = 40,
    TOK_TRAP_TYPE = 41,
    TOK_ENTERPRISE = 42,
    TOK_VARIABLES = 43,
    TOK_MODULE_IDENTITY = 44,
    TOK_LAST_UPDATED = 45,
    TOK_ORGANIZATION = 46,
    TOK_CONTACT_INFO = 47,
    TOK_REVISION = 48,
    TOK_OBJECT_IDENTITY = 49,
    TOK_COUNTER64 = 51,
    TOK_UNSIGNED32 = 52,
    TOK_UNITS = 53,
    TOK_READ_CREATE = 54,
    TOK_AUGMENTS = 55,
    TOK_OBJECTS = 56,
    TOK_MODULE = 57,
    TOK_MANDATORY_GROUPS = 58,
    TOK_GROUP = 59,
    TOK_WRITE_SYNTAX = 60,
    TOK_MIN_ACCESS = 61,
    TOK_TEXTUAL_CONVENTION = 62,
    TOK_NOTIFICATION_TYPE = 63,
    TOK_OBJECT_GROUP = 64,
    TOK_MODULE_COMPLIANCE = 65,
    TOK_AGENT_CAPABILITIES = 66,
    TOK_PRODUCT_RELEASE = 67,
    TOK_SUPPORTS = 68,
    TOK_INCLUDES = 69,
    TOK_VARIATION = 70,
    TOK_CREATION_REQUIRES = 71,
    TOK_COMMA = 72,
    TOK_DISPLAY_HINT = 73,
    TOK_OBJECT = 74,
    TOK_BITS = 75,
    TOK_PAREN = 76,
    TOK_ACCESSIBLE_FOR_NOTIFY = 77,
    TOK_NOTIFICATION_GROUP = 78,
    TOK_NOTIFICATIONS = 79,
    TOK_TRAPSTART = 80,
    TOK_OBJECT_MARK = 81,
    TOK_TYPE = 82,
    TOK_SUMMARY = 83,
    TOK_ARGUMENTS = 84,
    TOK_SEVERITY = 85,
    TOK_GENERIC = 86,
    TOK_CATEGORY = 87,
    TOK_SOURCE_ID = 88,
    TOK_TIMEINDEX = 89,
    TOK_HELP = 90,
    TOK_HELPTAG = 91,
    TOK_STATE = 92,
    TOK_TRAPEND = 93,
    TOK_SYMBOL = 94,
    TOK_LINE_MARK = 95,
    TOK_NOT_IMPLEMENTED = 96,
    TOK_MACADDRESS = 97,
    TOK_TRUTHVALUE = 98,
    TOK_TESTANDINCR = 99,
    TOK_AUTONOMOUSTYPE = 100,
    TOK_INSTANCEPOINTER = 101,
    TOK_VARIABLEPOINTER = 102,
    TOK_ROWPOINTER = 103,
    TOK_ROWSTATUS = 104,
    TOK_TIMESTAMP = 105,
    TOK_TIMEINTERVAL = 106,
    TOK_DATEANDTIME = 107,
    TOK_STORAGETYPE = 108,
    TOK_TDOMAIN = 109,
    TOK_TADDRESS = 110,
};

// Flag bits of GetToken.
enum : int {
    GT_COMMA = 1,         // "," ends a word and comes back alone as TOK_COMMA
    GT_PARENS = 2,        // "(" and ")" end a word and come back as TOK_PAREN
    GT_OBJECT = 4,        // the single word OBJECT comes back as TOK_OBJECT
    GT_TRAPKEYWORDS = 8,  // annotation mode: "--" comment lines come back whole
};

// Token buffer sizes the callers of GetToken provide.
constexpr int TOKEN_BUF = 256;         // plain mode
constexpr int TRAP_TOKEN_BUF = 1025;   // annotation mode (GT_TRAPKEYWORDS)

// ---------------------------------------------------------------------------
// Keyword table.
// ---------------------------------------------------------------------------
struct tok {
    const char* szName;  // the reserved word, case-sensitive
    int32_t nLen;        // length of szName
    int32_t nToken;      // token code; TOK_CONTINUE for OBJECT and OCTET
    int32_t nHash;       // byte-sum hash, filled by HashInit
    tok* pNext;          // next entry of the same bucket, filled by HashInit
};

constexpr int NUM_KEYWORDS = 112;
extern tok g_tokens[NUM_KEYWORDS + 1];  // the words, then a null terminator

// Byte sum of a word, each byte taken as signed 8-bit.
int32_t KeywordHash(const char* sz);

// ---------------------------------------------------------------------------
// Records.
// ---------------------------------------------------------------------------

// Circular doubly linked list with a head element; each element carries one
// pointer, owned or borrowed depending on the list.  The lists of a parse
// record (RecordTokenList) are arena memory, head and texts included.
struct MibTokenList {
    MibTokenList* forw;
    MibTokenList* back;
    char* szToken;  // payload; null in the head
};

// An enumeration item: arena memory with its label in a parse record, heap
// memory (released with the type) in a user type.
struct MibEnumList {
    MibEnumList* next;
    int value;
    char* szLabel;
};

// Name/value pair: a trap annotation (arena memory; szLabel and szValue are
// the same text) or an imported descriptor (heap; szLabel owned, szValue
// borrowed: the module name shared with the importFilesList entry).
struct keyword {
    keyword* next;
    char* szLabel;
    char* szValue;
};

struct importFilesList {
    importFilesList* next;
    char* szLabel;           // owned module name
    struct keyword* imports; // descriptors imported from it
};

// One item of a braced list, with its text: arena memory.
struct tagBracedList {
    tagBracedList* pNext;
    char* szString;
};

// One OID component while it is read.
struct subid {
    int nSubid;     // -1 when the component has no number
    char* szLabel;  // heap copy (ReleaseOidLabels), or null for a bare number
};

constexpr int LABEL_LEN = 256;  // capacity of szLabel and szParent, terminator included

// Storage for the records of one parse: large blocks handed out in order and
// released together.  Blocks of 2 MB and more are aligned and advised for huge
// pages, so that filling them costs few page faults.
class RecordArena {
public:
    RecordArena() = default;
    ~RecordArena() { Release(); }
    RecordArena(const RecordArena&) = delete;
    RecordArena& operator=(const RecordArena&) = delete;

    // Sizes the first block for a parse of `inputBytes` bytes of MIB text;
    // has no effect once a block exists.
    void Reserve(size_t inputBytes);
    // Zero-filled storage for `size` bytes, aligned for any record (records
    // hold pointers and ints).  Like every allocation of the compiler it
    // throws std::bad_alloc when memory runs out.
    void* Allocate(size_t size);
    // A terminated copy of the first len characters of text.
    char* CopyText(const char* text, size_t len);
    // Gives back the most recent allocation, when p is that allocation (a
    // text read only to be skipped); otherwise does nothing.
    void Unwind(void* p);
    // Frees every block.
    void Release();
    // Takes over the blocks of `from`, which is left empty.
    void Adopt(RecordArena& from);
    size_t BytesReserved() const { return m_reserved; }
    size_t BytesUsed() const;

private:
    struct Block;
    void Grow(size_t need);
    char* AllocateRaw(size_t size, size_t align);

    Block* m_last = nullptr;     // newest block; each links to the one before
    char* m_cur = nullptr;       // next free byte of the newest block
    char* m_end = nullptr;       // end of the newest block
    char* m_lastAlloc = nullptr; // start of the most recent allocation
    size_t m_nextSize = 0;       // size of the next block
    size_t m_reserved = 0;       // bytes in all blocks
};

// The empty label every record starts with.
extern const char kNoLabel[];

// A parse record.  The record and everything its pointers reach (texts,
// lists, enumerations, annotations, the structure record hung on it) are
// arena memory of the parse that made it, released with the module list.
// The fields are laid out pointers first, then the integers, so that the
// record has no padding holes.
struct node {
    node* next;
    const char* szLabel;      // at most LABEL_LEN - 1 characters, or kNoLabel
    const char* szParent;     // likewise
    char* szUserDef;
    MibEnumList* enums;
    char* szDescr;
    MibTokenList* index_names;
    void* pvEaObj;            // unused, stays null
    char* szUnits;
    char* szSubtype;
    MibTokenList* augment_name;
    struct keyword* keyword;  // annotation lines
    tagBracedList* sequence;
    char* szEnterprise;
    node* userDefinedSequence;  // scratch record of a SEQUENCE assignment
    int subid;
    int type;                 // record kind: token code of the macro
    int smi_access;           // -1 none, 0 read-only ... 5 accessible-for-notify
    int def_line;
    int status;               // token code of the STATUS value, 0 if none
    int fixed_len;
    int syntax;
};

constexpr int MODNAME_LEN = 1024;

struct ModListNode {
    char szModName[MODNAME_LEN];
    char szMibName[MODNAME_LEN];
    struct node* node;  // first record of the module
    ModListNode* next_mod;
    // Set in the first module record of a parse's list only: the arena that
    // holds every record of the list, this one included.
    RecordArena* pArena;
};

// A type defined by the module (type assignment or TEXTUAL-CONVENTION).
struct MibUserType {
    char* szName;
    int type;            // token code of the base syntax
    MibEnumList* enums;
    char* szUserDef;
    char* szSubtype;
};

// One OBJECT IDENTIFIER registration bound for the ".imports" file.  A
// circular list without a separate head; names are borrowed.
struct NameValueList {
    NameValueList* forw;
    NameValueList* back;
    const char* szName;
    const char* szParent;
    int subid;

    static NameValueList* put(NameValueList* list, const char* szName, const char* szParent,
                              int subid);
    // The records of first, then those of second, as one list.
    static NameValueList* Join(NameValueList* first, NameValueList* second);
    void dump(FILE* file);
    static void FreeList(NameValueList* list);  // releases the records, not the names
};

// Owns a whole NameValueList.
struct NameValueListRelease {
    void operator()(NameValueList* list) const { NameValueList::FreeList(list); }
};
using NameValueListPtr = std::unique_ptr<NameValueList, NameValueListRelease>;

// ---------------------------------------------------------------------------
// Process-wide state.
// ---------------------------------------------------------------------------
extern importFilesList* importFiles;  // IMPORTS of the main module, in order
extern char* szMibModuleName;         // name of the module last written by PrintMIB

// Releases and resets every piece of process-wide state: the tokenizer's
// push-back character, importFiles, szMibModuleName, the written-names lists
// of the writers, the module lists kept for imported modules and the folder
// locks still held (see folderlock.h).  Tests call it between cases; the
// driver calls it before it returns.
void ResetProcessState();

// Length of a file name cut at its first "." that follows a character other
// than ".": leading dots stay, and a name without such a dot stays whole
// ("../mibs/foo.mib" -> "../mibs/foo", "foo.old.mib" -> "foo").  Work-file and
// trace-file names are formed from this prefix.
size_t BaseNameLength(const char* szName);

// A heap copy of the first len characters of text with a terminator.  For
// texts that outlive a parse (user types, the import list) and for
// short-lived ones; released with FreeHeap.
char* CopyText(const char* text, size_t len);
// The same for a whole text; a null text gives null.
char* CopyText(const char* text);

// Zero-filled heap storage for one record that outlives a parse, and its
// release (FreeHeap also takes the texts of CopyText and null).
void* AllocHeapRecord(size_t size);
void FreeHeap(void* p);
template <typename T>
T* NewHeapRecord() {
    return static_cast<T*>(AllocHeapRecord(sizeof(T)));
}

// Copies a text into a fixed field, cut to the field's size and always
// terminated.
template <size_t N>
void CopyInto(char (&field)[N], const char* text) {
    const size_t len = strnlen(text, N - 1);
    memmove(field, text, len);
    field[len] = '\0';
}

// Frees the labels of the first count components of an OID value read by
// GetOid and clears them.
void ReleaseOidLabels(subid* oider, int count);

// Releases the labels of an OID value read by GetOid when it goes.
class OidLabels {
public:
    OidLabels(subid* oider, int count) : m_oider(oider), m_count(count) {}
    ~OidLabels() { ReleaseOidLabels(m_oider, m_count); }
    OidLabels(const OidLabels&) = delete;
    OidLabels& operator=(const OidLabels&) = delete;

private:
    subid* m_oider;
    int m_count;
};

// The written-names lists of the writers: a circular list without a separate
// head whose elements own copies (new[]) of the names in the order written,
// with a set beside it that answers membership in constant time.
struct WrittenNames {
    MibTokenList* list = nullptr;

    bool Contains(const char* szName) const { return m_index.Contains(szName, flat::HashText(szName)); }
    // Appends a copy of the name; false, changing nothing, when it is there.
    bool Add(const char* szName);
    // Frees every element and empties the set.
    void Clear();

private:
    // Storage for n bytes, aligned for a list element, from blocks released
    // together by Clear: one list element and one name copy per written name
    // would otherwise cost two allocations each.
    void* Take(size_t n);

    flat::TextSet m_index;  // views the names' copies
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_cur = nullptr;
    size_t m_left = 0;
};

// The output order of one module's records, built by AddToQueue: the queue
// and the lookups that build it.  PrintMIB makes one for each module it
// writes; it views the module's records, which stay in place meanwhile.
struct ModuleQueue {
    // `all` holds the records to be queued; a record's parent is the first
    // record of `all` whose label is the record's parent label.
    explicit ModuleQueue(const std::vector<node*>& all);

    std::vector<node*> records;     // the queue
    flat::FirstByLabel firstByLabel;  // the first record of `all` for each label
    flat::PointerSet queued;        // the records in the queue
    // The ancestors AddToQueue is collecting, kept from call to call so that
    // they cost no allocation each time.
    std::vector<node*> chain;
    flat::PointerSet onChain;
};

// The definitions of one imported module as ResolveParent looks them up:
// every record of each label, in module order, and the labels it has
// expanded so far.  ProcessImports makes one for each module it resolves
// labels in; it views the module's records, which stay in place meanwhile.
struct ModuleDefinitions {
    explicit ModuleDefinitions(node* first);

    flat::AllByLabel byLabel;
    flat::TextSet expanded;  // views the module's labels, and copies of the callers'
    std::vector<std::unique_ptr<char[]>> copies;
};

// The per-subsystem parts of ResetProcessState.
void ResetTokenizerState();
void ResetImportFiles();
void ResetPrintMIBState();
void ResetUserTypeWriterState();
void ResetImportWriterState();
// Whether a module named by several FROM clauses is parsed only once (on by
// default); tests turn it off to compare with parsing it every time.
void SetImportReuse(bool enabled);
// How many imports reused an earlier parse since the state was last reset.
size_t ImportsReused();
// True when an imported module's name holds a '/'.  Imported modules are
// files named after the bare module name in the working folder; such a name
// would reach into another folder, so it never becomes a file name: the
// import is reported as not found, no trace file is made for it and cleanup
// removes nothing by it.
bool ModuleNameIsPath(const char* szModule);

namespace smitext {
class Out;
}

// ---------------------------------------------------------------------------
// The compiler object.
// ---------------------------------------------------------------------------
class CMib2Trap {
public:
    char* m_strCfgDir;
    char* m_strOutFile;
    char* m_strTrapFile;
    const char* m_strInFile;  // not owned
    Stream m_pOutFile;   // never opened
    Stream m_pTrapFile;  // trace file
    FILE* m_pInFile;     // MIB input, open only while compiling; read through m_source
    Stream m_pCfgFile;   // intermediate output (modes 1 and 3)
    char m_tmpFileStr[128];
    int m_nLine;
    int m_nNameLine;
    int m_nTTLine;
    char m_aTTLine[20];
    tok* m_pBuckets[32];
    char* m_szMibName;  // owned
    char m_szModName[MODNAME_LEN];
    int m_mibStartLine;
    void* m_HashTbl[64];
    bool m_bModuleParse;
    bool m_bMibHasTrapTypeMacro;
    MibTokenList* m_pUnresObjList;
    MibTokenList* m_pUserTypeList;
    node* m_head_old_nodes;  // unused, stays null

    // The records of the parse under way.
    RecordArena m_arena;

    // The bytes of the input stream: GetToken and the text readers read
    // through it.  A parse attaches m_pInFile anew when it starts, and GetToken
    // attaches the stream it is handed when that is another one.
    MibSource m_source;

    // The buffer Trace gathers its records in while a parse is under way
    // (see Parse); otherwise null, and each record is written at once.
    smitext::Out* m_traceOut = nullptr;

    // Catalog messages printed by this object so far.
    unsigned m_nMessages = 0;

    // Index beside m_pUserTypeList (name -> record), so that type lookups do
    // not walk the list.  Kept in step by AppendUserTypeOnTokenList and
    // cleared whenever m_pUserTypeList is released.
    std::unordered_map<std::string, MibUserType*> m_userTypeIndex;

    CMib2Trap();
    ~CMib2Trap();
    CMib2Trap(const CMib2Trap&) = delete;
    CMib2Trap& operator=(const CMib2Trap&) = delete;

    // Compiler object and modes.
    bool Initialize(const char* szFile, const char* szOutFile, int pass);
    bool CompileMIB(const char* szFile, int pass);
    // Opens the MIB input as m_pInFile (null when it cannot be opened), and
    // detaches it from m_source and closes it.
    void OpenInput(const char* szFile);
    void CloseInput();

    // Message catalog.
    static char* LoadString(unsigned int ID);
    void DisplayMsg(unsigned int nID, ...);

    // Trace file: printf-style record, ignored when no trace file is open.
    void Trace(const char* fmt, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;

    // Keyword table and tokenizer.  FindKeyword gives the entry of the
    // word's text that the bucket of its byte sum holds; it finds nothing
    // before HashInit has linked this object's buckets.  The second form
    // takes the word's length, which a NUL byte may shorten: szWord[len] is
    // a NUL byte.
    void HashInit();
    const tok* FindKeyword(const char* szWord) const;
    const tok* FindKeyword(const char* szWord, size_t len) const;
    int GetToken(FILE* fp, char* szToken, int fFlag);
    char* MibGetModFromLine(const char* szLine, const char* szMatch);

    // Text readers.
    char* GetQuotedText(FILE* pFile, char* szToken);
    bool SkipRefText(char* szToken);
    tagBracedList* GetBracedList(FILE* pFile, int flag, int* type, char* szToken);
    char* GetSubtypeString(FILE* pFile, char* szToken, int* type, node* np);

    // Module parser.
    ModListNode* Parse(int pass);
    bool ParseDefinitions(char* szName);
    void ResolveObjTypeRefs(MibTokenList* unresObjList, MibTokenList* userTypeList);

    // Records.  The records of a parse come from m_arena and are never
    // released one by one: a record dropped by a failed statement stays
    // behind, and FreeModList releases a parse's whole arena.
    node* CreateNode(int type);
    static void GenericZeroMemory(void* here, size_t len);
    static void FreeModList(ModListNode* mod_list);
    static void FreeEnumList(MibEnumList* ep);  // a user type's heap list
    ModListNode* CreateModule(const char* szModName, const char* szMibName);
    // A copy of the label for a record field, cut to LABEL_LEN - 1 characters.
    const char* CopyLabel(const char* szLabel);
    // Arena copies of a record's texts and lists.
    char* CopyRecordText(const char* text, size_t len);
    char* CopyRecordText(const char* text);
    void* AllocRecord(size_t size) { return m_arena.Allocate(size); }
    MibEnumList* CopyRecordEnums(const MibEnumList* ep);
    // A record's token list (INDEX, AUGMENTS, VARIABLES, OBJECTS) whose items
    // are the texts of a braced list; a null list gives an empty one.
    MibTokenList* RecordTokenList(const tagBracedList* list);
    // Gives a text read only to be skipped back to the arena.
    void DropText(char* text) { m_arena.Unwind(text); }
    // Hands the arena of the parse that ends over to its module list, or
    // releases it when the parse returns no list.
    ModListNode* FinishParse(ModListNode* list);

    // Object identifier values.
    int GetOid(subid* oider, int length);
    node* ParseObjectId(char* szName);

    // Statement parsers.
    node* ParseObjectType(char* szName);
    node* ParseTrapType(char* szName, node* nodes);
    node* ParseNotificationType(char* szName);
    int FixTrapTypeNodes(node** nodes);
    node* ParseModuleIdentity(char* szName);
    node* ParseObjectIdentity(char* szName);
    node* ParseObjectGroup(char* szName);
    node* ParseNotificationGroup(char* szName);
    node* ParseModuleCompliance(char* szName);
    node* ParseAgentCapabilities(char* szName);

    // SYNTAX clauses and user types.
    bool GetSyntax(char* szToken, int* type, node* np);
    int ParseEnums(char* szToken, MibEnumList** enums);
    int ParseUserType(char* szToken, char* szName, node* cur_np);
    int ParseTextualConvention(char* szToken, char* szName, node* np);
    static MibUserType* CreateUserTypeElement(const char* szName, int type, MibEnumList* enums,
                                              const char* szUserDef, const char* szSubtype);
    bool AppendUserTypeOnTokenList(MibUserType* utp, MibTokenList** p_utlist);
    static bool CompareUserTypes(MibUserType* utp1, MibUserType* utp2);
    MibUserType* FindUserTypeOnTokenList(const char* szName, MibTokenList* userTypeList);
    static MibEnumList* DupEnumList(MibEnumList* oldEp);
    static void AppendObjDefnOnTokenList(node* pObjDefn, MibTokenList** pObjList);
    static void FreeUserTypeElement(MibUserType* utp);
    void ReleaseUserTypeList();  // detaches and frees m_pUserTypeList, clears the index

    // Token lists.
    static void CreateTokenListHead(MibTokenList** tlh);
    static MibTokenList* InsertTokenIntoQueue(char* szToken, MibTokenList* tlh);
    static void Insque(MibTokenList* elem, MibTokenList* pred);
    static void Remque(MibTokenList* elem);
    static void FreeTokenElement(MibTokenList* tl);
    static void FreeTokenList(MibTokenList* tlh);
    static void FreeObjDefnOnTokenList(MibTokenList* tlh);

    // Import resolution.
    bool ProcessImports(importFilesList* importFile, FILE* file);
    static NameValueList* ResolveParent(ModuleDefinitions& defs, const char* szLabel, NameValueList* list);

    // Writers.
    bool PrintMIB(ModListNode* pHead, FILE* file);
    static void AddToQueue(ModuleQueue& queue, node* np);
    bool PrintUserTypes(FILE* file);

private:
    Stream m_input;  // the MIB input when OpenInput opened it; m_pInFile views it
};

// Owns a parse's module list (see CMib2Trap::FreeModList).
struct ModListRelease {
    void operator()(ModListNode* list) const { CMib2Trap::FreeModList(list); }
};
using ModListPtr = std::unique_ptr<ModListNode, ModListRelease>;

#endif  // TRAPSMITH_MIB2TRAP_H
