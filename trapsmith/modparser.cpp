// The module parser: reads a file as a sequence of modules, hands every
// statement to the parser of its macro, completes the OID registration of
// each statement, records the IMPORTS of the main module and, after a clean
// parse, binds objects to types that were defined after them.
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "mib2trap.h"
#include "smitext.h"

importFilesList* importFiles = nullptr;

// Releases the whole import list.  The module name of an entry is shared by
// the values of its label records, so it is released once, with the entry.
void ResetImportFiles() {
    importFilesList* entry = importFiles;
    while (entry != nullptr) {
        importFilesList* nextEntry = entry->next;
        keyword* kp = entry->imports;
        while (kp != nullptr) {
            keyword* nextKp = kp->next;
            FreeHeap(kp->szLabel);
            FreeHeap(kp);
            kp = nextKp;
        }
        FreeHeap(entry->szLabel);
        FreeHeap(entry);
        entry = nextEntry;
    }
    importFiles = nullptr;
}

namespace {

// A clause may not run on for more words than this without its ";".
constexpr int MAX_IMPORT_WORDS = 500;
// Components of one registration value.
constexpr int MAX_OID_COMPONENTS = 16;

// Type names that standard modules define themselves as textual conventions;
// at the start of a statement they are ordinary labels.
bool IsTextualConventionKeyword(int type) {
    return type == TOK_DISPLAYSTRING || type == TOK_PHYSADDRESS ||
           (type >= TOK_MACADDRESS && type <= TOK_TADDRESS);
}

bool EndsWithSemicolon(const char* word) {
    size_t len = std::strlen(word);
    return len > 0 && word[len - 1] == ';';
}

// A heap copy of a word without one trailing "," or ";".
char* CopyWithoutSeparator(const char* word) {
    size_t len = std::strlen(word);
    if (len > 0 && (word[len - 1] == ',' || word[len - 1] == ';')) --len;
    return CopyText(word, len);
}

// The state of one parse of a file.
class ModuleParser {
public:
    ModuleParser(CMib2Trap& mib, int pass) : mib(mib), pass(pass) {}
    // A parse cut short by running out of memory leaves labels no FROM
    // has taken yet.
    ~ModuleParser() { ReleasePendingImports(); }
    ModuleParser(const ModuleParser&) = delete;
    ModuleParser& operator=(const ModuleParser&) = delete;

    ModListNode* Run();

private:
    int Next() { return type = mib.GetToken(mib.m_pInFile, szToken, 0); }
    void Fail() { bProblem = true; }

    void Statement();
    void ModuleHeader();
    void ImportsExports();
    void RecordFrom();
    void RecordPendingLabel();
    void End();
    void Register(node* r, bool bValueRead);
    node* BuildRegistration(node* r, subid* oider, int n);
    void Append(node* first);
    void ReleasePendingImports();

    CMib2Trap& mib;
    const int pass;

    char szToken[TOKEN_BUF] = "";  // the one-word look-ahead
    int type = TOK_EOF;
    char szName[TOKEN_BUF] = "";   // the label that began the statement
    bool bHaveNext = false;        // the look-ahead was already read

    ModListNode* head_mod_list = nullptr;
    ModListNode* mlp = nullptr;
    node* np = nullptr;  // last record of the current module

    // Labels read since the last FROM, and the append points of both lists,
    // so that recording a word never walks a list.
    keyword* imports = nullptr;
    keyword* importsTail = nullptr;
    importFilesList* importFilesTail = nullptr;

    bool bModuleHasTrapTypeMacro = false;
    bool bProblem = false;
};

ModListNode* ModuleParser::Run() {
    // Every file starts afresh, without a character pushed back or bytes
    // read ahead by a parse of an earlier file that stopped in the middle.
    ResetTokenizerState();
    mib.m_source.Attach(mib.m_pInFile);
    mib.m_nLine = 1;
    // The first block of the arena is sized after the file.
    struct stat st;
    if (mib.m_pInFile && fstat(fileno(mib.m_pInFile), &st) == 0 && st.st_size > 0)
        mib.m_arena.Reserve(static_cast<size_t>(st.st_size));
    mib.m_bModuleParse = false;
    for (importFilesTail = importFiles; importFilesTail && importFilesTail->next;)
        importFilesTail = importFilesTail->next;

    Next();
    while (!bProblem && type != TOK_EOF) {
        if (IsTextualConventionKeyword(type)) type = TOK_LABEL;
        bHaveNext = false;
        switch (type) {
            case TOK_LABEL:
                Statement();
                break;
            case TOK_IMPORTS:
            case TOK_EXPORTS:
                ImportsExports();
                break;
            case TOK_END:
                End();
                break;
            default:
                mib.DisplayMsg(114, szToken);
                Fail();
                break;
        }
        if (!bProblem && !bHaveNext) Next();
    }

    if (!bProblem && mib.m_bModuleParse) {
        mib.DisplayMsg(120);
        Fail();
    }
    mib.m_bModuleParse = false;

    // Labels that no FROM followed belong to no module.
    ReleasePendingImports();

    if (!bProblem) mib.ResolveObjTypeRefs(mib.m_pUnresObjList, mib.m_pUserTypeList);
    // The queued objects belong to the modules; only the queue is released.
    CMib2Trap::FreeObjDefnOnTokenList(mib.m_pUnresObjList);
    CMib2Trap::FreeTokenList(mib.m_pUnresObjList);
    mib.m_pUnresObjList = nullptr;
    if (pass == 3) {
        // No writer will take these types, so the records go with the list.
        MibTokenList* types = mib.m_pUserTypeList;
        for (MibTokenList* e = types ? types->forw : nullptr; e && e != types; e = e->forw)
            CMib2Trap::FreeUserTypeElement(reinterpret_cast<MibUserType*>(e->szToken));
        mib.ReleaseUserTypeList();
    }

    // A failed parse takes every record it made with it.
    return mib.FinishParse(bProblem ? nullptr : head_mod_list);
}

// The current word is a label: a module header or a statement.
void ModuleParser::Statement() {
    CopyInto(szName, szToken);
    mib.m_nNameLine = mib.m_nLine;
    Next();

    if (type == TOK_BRACE && szToken[0] == '{') {
        if (mib.m_bModuleParse) {
            mib.DisplayMsg(115, "{");
            Fail();
            return;
        }
        // The module's own OID value after its name: skipped.
        do {
            Next();
        } while (type != TOK_EOF && szToken[0] != '}');
        Next();
    }

    if (type == TOK_DEFINITIONS) {
        ModuleHeader();
        return;
    }
    if (!mib.m_bModuleParse) {
        mib.DisplayMsg(117, szToken);
        Fail();
        return;
    }

    node* r = nullptr;
    bool bValueRead = false;
    switch (type) {
        case TOK_EQUALS: {
            int lookahead = mib.ParseUserType(szToken, szName, np);
            if (lookahead == 0) {
                Fail();
            } else {
                type = lookahead;
                bHaveNext = true;
            }
            return;
        }
        case TOK_OBJECT_TYPE:
            r = mib.ParseObjectType(szName);
            break;
        case TOK_OBJECT_IDENTIFIER:
            // The assignment always reads its own value, also when the first
            // record of its chain carries no number (a step written "iso").
            r = mib.ParseObjectId(szName);
            bValueRead = true;
            break;
        case TOK_TRAP_TYPE:
            mib.m_bMibHasTrapTypeMacro = true;
            bModuleHasTrapTypeMacro = true;
            r = mib.ParseTrapType(szName, mlp->node);
            break;
        case TOK_MODULE_IDENTITY:
            r = mib.ParseModuleIdentity(szName);
            break;
        case TOK_OBJECT_IDENTITY:
            r = mib.ParseObjectIdentity(szName);
            break;
        case TOK_NOTIFICATION_TYPE:
            mib.m_bMibHasTrapTypeMacro = true;
            r = mib.ParseNotificationType(szName);
            break;
        case TOK_OBJECT_GROUP:
            r = mib.ParseObjectGroup(szName);
            break;
        case TOK_NOTIFICATION_GROUP:
            r = mib.ParseNotificationGroup(szName);
            break;
        case TOK_MODULE_COMPLIANCE:
            r = mib.ParseModuleCompliance(szName);
            break;
        case TOK_AGENT_CAPABILITIES:
            r = mib.ParseAgentCapabilities(szName);
            break;
        case TOK_EOF:
            mib.DisplayMsg(118);
            Fail();
            return;
        default:
            mib.DisplayMsg(115, szToken);
            Fail();
            return;
    }
    if (r == nullptr) {
        Fail();  // the statement parser has reported why
        return;
    }
    Register(r, bValueRead);
}

// "name DEFINITIONS": the rest of the header, then a new module record.
void ModuleParser::ModuleHeader() {
    if (mib.m_bModuleParse) {
        mib.DisplayMsg(116);
        Fail();
        return;
    }
    CopyInto(mib.m_szModName, szName);
    mib.Trace("#-MODULENAME: %s\n\n", szName);
    if (!mib.ParseDefinitions(szName)) {
        Fail();
        return;
    }

    ModListNode* mod = mib.CreateModule(szName, mib.m_szMibName ? mib.m_szMibName : "");
    if (mlp != nullptr)
        mlp->next_mod = mod;
    else
        head_mod_list = mod;
    mlp = mod;
    np = nullptr;
    bModuleHasTrapTypeMacro = false;
    mib.m_bModuleParse = true;
}

// The current word is IMPORTS or EXPORTS: read the clause up to its ";".
// The main module records every word; FROM attaches the words read since the
// previous FROM to the module named after it.
void ModuleParser::ImportsExports() {
    if (!mib.m_bModuleParse) {
        mib.DisplayMsg(111, szToken);
        Fail();
        return;
    }
    int saveLine = mib.m_nLine;
    int impExpTokenCount = 0;
    while (!bProblem && impExpTokenCount < MAX_IMPORT_WORDS && !EndsWithSemicolon(szToken)) {
        Next();
        ++impExpTokenCount;
        if (pass != 1) continue;
        if (std::strcmp(szToken, "FROM") == 0) {
            Next();  // the module name, counted with its FROM
            RecordFrom();
        } else if (std::strcmp(szToken, "IMPORTS") != 0) {
            RecordPendingLabel();
        }
    }
    if (!bProblem && impExpTokenCount >= MAX_IMPORT_WORDS) {
        mib.m_nLine = saveLine;
        mib.DisplayMsg(112);
        Fail();
    }
}

void ModuleParser::RecordFrom() {
    importFilesList* entry = NewHeapRecord<importFilesList>();
    char* szModule;
    try {
        szModule = CopyWithoutSeparator(szToken);
    } catch (...) {
        FreeHeap(entry);
        throw;
    }
    entry->szLabel = szModule;
    entry->imports = imports;
    if (importFilesTail != nullptr)
        importFilesTail->next = entry;
    else
        importFiles = entry;
    importFilesTail = entry;

    for (keyword* kp = imports; kp != nullptr; kp = kp->next)
        if (kp->szValue == nullptr) kp->szValue = szModule;
    imports = importsTail = nullptr;
}

void ModuleParser::RecordPendingLabel() {
    keyword* kp = NewHeapRecord<keyword>();
    char* szLabel;
    try {
        szLabel = CopyWithoutSeparator(szToken);
    } catch (...) {
        FreeHeap(kp);
        throw;
    }
    kp->szLabel = szLabel;
    if (importsTail != nullptr)
        importsTail->next = kp;
    else
        imports = kp;
    importsTail = kp;
}

void ModuleParser::ReleasePendingImports() {
    while (imports != nullptr) {
        keyword* next = imports->next;
        FreeHeap(imports->szLabel);
        FreeHeap(imports);
        imports = next;
    }
    importsTail = nullptr;
}

void ModuleParser::End() {
    if (!mib.m_bModuleParse) {
        mib.DisplayMsg(111, szToken);
        Fail();
        return;
    }
    if (np != nullptr) np->next = nullptr;
    if (bModuleHasTrapTypeMacro && mib.FixTrapTypeNodes(&mlp->node) != 0) {
        mib.DisplayMsg(113);
        Fail();
        return;
    }
    bModuleHasTrapTypeMacro = false;
    mib.m_bModuleParse = false;
    np = nullptr;
}

// Completes the registration of a statement's record from the "::=" value
// that follows it, unless the statement parser has read the value itself, and
// appends the resulting records to the module.
void ModuleParser::Register(node* r, bool bValueRead) {
    if (!bValueRead && r->subid == -1) {
        subid oider[MAX_OID_COMPONENTS];
        const int n = mib.GetOid(oider, MAX_OID_COMPONENTS);
        const OidLabels labels(oider, n);
        if (n < 2) {
            // Nothing to register (or an error GetOid has reported): the
            // statement is dropped, its record left behind in the arena, and
            // the parse goes on.
            return;
        }
        r = BuildRegistration(r, oider, n);
        if (r == nullptr) {
            Fail();
            return;
        }
    }
    Append(r);
}

// Fills r from the components of its value and returns the records to append:
// one for each component between the first and the last, then r.  Returns
// null when the value cannot be registered (r is then dropped).
node* ModuleParser::BuildRegistration(node* r, subid* oider, int n) {
    // Every component but the last names a record or the parent of one, so
    // each must carry a label; { a 3 b(2) 1 } is refused like { 1 3 6 }.
    for (int i = 0; i < n - 1; ++i) {
        if (oider[i].szLabel == nullptr) {
            mib.DisplayMsg(119);
            return nullptr;
        }
    }

    r->szParent = mib.CopyLabel(oider[n - 2].szLabel);
    mib.Trace("#-OBJECT_OID: %s", oider[n - 2].szLabel);
    r->def_line = mib.m_nNameLine;
    r->szLabel = mib.CopyLabel(szName);
    if (oider[n - 1].nSubid == -1) {
        mib.DisplayMsg(119);
        return nullptr;
    }
    r->subid = oider[n - 1].nSubid;
    mib.Trace(" %d\n", r->subid);
    mib.Trace("#-END_OBJECTNAME: %s\n\n", szName);

    node* first = nullptr;
    node* last = nullptr;
    for (int i = 1; i < n - 1; ++i) {
        node* step = mib.CreateNode(TOK_OBJECT_IDENTIFIER);
        step->szLabel = mib.CopyLabel(oider[i].szLabel);
        // The step before has just copied this parent label: shared.
        step->szParent = last != nullptr ? last->szLabel : mib.CopyLabel(oider[i - 1].szLabel);
        step->subid = oider[i].nSubid;
        step->def_line = mib.m_nNameLine;
        if (last != nullptr)
            last->next = step;
        else
            first = step;
        last = step;
    }
    if (last == nullptr) return r;
    last->next = r;
    return first;
}

// Appends a record, or a chain of records linked through next, at the end of
// the current module.  An object whose type was not defined yet when it was
// read (it keeps syntax TOK_LABEL) joins the unresolved-object list here,
// once, so that only objects of the module are bound at the end of the parse.
void ModuleParser::Append(node* first) {
    if (np != nullptr)
        np->next = first;
    else
        mlp->node = first;
    for (np = first;; np = np->next) {
        if (np->type == TOK_OBJECT_TYPE && np->syntax == TOK_LABEL)
            CMib2Trap::AppendObjDefnOnTokenList(np, &mib.m_pUnresObjList);
        if (np->next == nullptr) break;
    }
}

}  // namespace

ModListNode* CMib2Trap::Parse(int pass) {
    // The trace records of the parse are gathered in one buffer, which is
    // written out when the parse returns: nothing else writes to the trace
    // file meanwhile.
    smitext::Out trace(m_pTrapFile.get());
    m_traceOut = &trace;
    ModuleParser parser(*this, pass);
    ModListNode* list = parser.Run();
    m_traceOut = nullptr;
    return list;
}

// Reads "::= BEGIN" after DEFINITIONS.
bool CMib2Trap::ParseDefinitions(char* /*szName*/) {
    char szToken[TOKEN_BUF];
    if (GetToken(m_pInFile, szToken, 0) != TOK_EQUALS) {
        DisplayMsg(137, szToken);
        return false;
    }
    if (GetToken(m_pInFile, szToken, 0) != TOK_BEGIN) {
        DisplayMsg(138, szToken);
        return false;
    }
    return true;
}

// Binds every queued object whose type has been defined by now exactly as an
// object is bound when its type is already known as it is read: it takes the
// type's base syntax, its enumerations and, when it has none of its own, its
// subtype.  The record kind and the type name stay as they are.
void CMib2Trap::ResolveObjTypeRefs(MibTokenList* unresObjList, MibTokenList* userTypeList) {
    if (unresObjList == nullptr || userTypeList == nullptr) return;
    for (MibTokenList* elem = unresObjList->forw; elem != unresObjList; elem = elem->forw) {
        node* obj = reinterpret_cast<node*>(elem->szToken);
        if (obj == nullptr || obj->szUserDef == nullptr) continue;
        MibUserType* utp = FindUserTypeOnTokenList(obj->szUserDef, userTypeList);
        if (utp == nullptr) continue;
        obj->syntax = utp->type;
        if (utp->enums != nullptr) obj->enums = CopyRecordEnums(utp->enums);
        if (obj->szSubtype == nullptr && utp->szSubtype != nullptr)
            obj->szSubtype = CopyRecordText(utp->szSubtype);
    }
}
