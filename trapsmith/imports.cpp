// Import resolution: compiles the module an IMPORTS ... FROM clause names and
// writes, into the ".imports" file, its user types and the OBJECT IDENTIFIER
// registrations of the imported labels with the chains of their ancestors.
#include <sys/stat.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "mib2trap.h"
#include "ring.h"
#include "smitext.h"

namespace {

// Names of the registrations written to the ".imports" file so far, in the
// order first met; copies, since the registration lists that brought them are
// freed after writing.
WrittenNames objIdList;

// Module lists of the imported files; the registrations written refer to
// their labels while they are resolved, and they are kept for the run.
std::vector<ModListNode*> importedModules;

// A module named by several FROM clauses is parsed once.  Parsing the same
// file again gives the same module list, the same trace records and, once
// its types have been written, no further type: so when the first parse
// printed no message, later imports of the module reuse its list and write
// the trace records it wrote.  Only modules still to be imported again are
// kept, and each entry goes with the module's last import.
struct ReusableImport {
    std::string fileName;   // the file the module was read from
    dev_t device = 0;       // and its identity then, so that a file changed
    ino_t inode = 0;        // in the meantime is parsed again
    off_t size = 0;
    struct timespec modified {};
    ModListNode* mods = nullptr;  // kept in importedModules
    std::string trace;            // the trace records of the parse
};

struct ImportReuse {
    const importFilesList* countedFor = nullptr;  // importFiles when counted
    std::unordered_map<std::string, int> importsLeft;  // per module name
    std::unordered_map<std::string, ReusableImport> kept;
    bool enabled = true;
    size_t reused = 0;  // imports that reused a kept parse
};
ImportReuse importReuse;

// Catches the trace records written while it is active in memory, in place
// of the trace file, and puts the trace file back when it finishes or goes.
// A memory stream fails only when memory runs out: opening it, writing to it
// or closing it then throws std::bad_alloc.
class TraceCapture {
public:
    explicit TraceCapture(Stream& trace) : m_trace(trace) {
        m_memory = Stream(open_memstream(&m_bytes, &m_size));
        if (!m_memory) throw std::bad_alloc();
        std::swap(m_trace, m_memory);  // m_memory holds the trace file meanwhile
    }
    ~TraceCapture() {
        if (m_active) Restore();
        std::free(m_bytes);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // Puts the trace file back; the records caught are then Bytes() and
    // Size().
    void Finish() {
        const bool failed = std::ferror(m_trace.get()) != 0;
        if (Restore() != 0 || failed || (m_bytes == nullptr && m_size != 0)) throw std::bad_alloc();
    }
    const char* Bytes() const { return m_bytes ? m_bytes : ""; }
    size_t Size() const { return m_size; }

private:
    int Restore() {
        m_active = false;
        std::swap(m_trace, m_memory);
        return m_memory.Close();
    }

    Stream& m_trace;
    Stream m_memory;
    bool m_active = true;
    char* m_bytes = nullptr;  // set by the memory stream as it grows and when it closes
    size_t m_size = 0;
};

bool SameFile(const ReusableImport& r, const std::string& fileName, const struct stat& st) {
    return r.fileName == fileName && r.device == st.st_dev && r.inode == st.st_ino && r.size == st.st_size &&
           r.modified.tv_sec == st.st_mtim.tv_sec && r.modified.tv_nsec == st.st_mtim.tv_nsec;
}

// Counts this import of the module; true when a later FROM clause of the
// main module names it again.
bool ImportedAgain(const std::string& szModule) {
    if (importReuse.countedFor != importFiles) {
        importReuse.countedFor = importFiles;
        importReuse.importsLeft.clear();
        importReuse.kept.clear();
        for (const importFilesList* e = importFiles; e; e = e->next)
            if (e->szLabel && !ModuleNameIsPath(e->szLabel)) ++importReuse.importsLeft[e->szLabel];
    }
    auto left = importReuse.importsLeft.find(szModule);
    if (left == importReuse.importsLeft.end() || left->second <= 0) return false;
    return --left->second > 0;
}

}  // namespace

// Whether a module named by several FROM clauses is parsed only once; on by
// default.  Tests turn it off to compare with parsing every time.
void SetImportReuse(bool enabled) {
    importReuse.enabled = enabled;
    importReuse.kept.clear();
}

size_t ImportsReused() { return importReuse.reused; }

bool ModuleNameIsPath(const char* szModule) { return szModule && std::strchr(szModule, '/'); }

namespace {

// Labels every reader of the output knows; they are never registered.
bool IsRootLabel(const char* szLabel) {
    static const char* const kRoots[] = {"ccitt", "iso",     "org",          "dod",     "internet",
                                         "directory", "mgmt", "experimental", "private", "enterprises"};
    for (const char* root : kRoots)
        if (std::strcmp(szLabel, root) == 0) return true;
    return false;
}

// Labels registered at a fixed place whatever the module says.  With
// bThenModule the label's parent is resolved and the module's own
// definitions of the label are registered as well.
struct FixedRegistration {
    const char* szLabel;
    const char* szParent;
    int subid;
    bool bThenModule;
};
const FixedRegistration kFixed[] = {
    {"mib-2", "mgmt", 1, false},          {"transmission", "mib-2", 10, true},
    {"security", "internet", 5, false},   {"snmpV2", "internet", 6, false},
    {"snmpDomains", "snmpV2", 1, true},   {"snmpProxys", "snmpV2", 2, true},
    {"snmpModules", "snmpV2", 3, true},
};

const FixedRegistration* FindFixed(const char* szLabel) {
    // Every fixed label starts with m, t or s: most labels are told apart
    // by their first character.
    if (szLabel[0] != 'm' && szLabel[0] != 't' && szLabel[0] != 's') return nullptr;
    for (const FixedRegistration& f : kFixed)
        if (std::strcmp(szLabel, f.szLabel) == 0) return &f;
    return nullptr;
}

// File names are built in buffers of this size.
constexpr size_t kFileNameLen = 256;

std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

}  // namespace

void ResetImportWriterState() {
    objIdList.Clear();
    importReuse.reused = 0;
    importReuse.countedFor = nullptr;
    importReuse.importsLeft.clear();
    importReuse.kept.clear();
    for (ModListNode* mod : importedModules) CMib2Trap::FreeModList(mod);
    importedModules.clear();
}

NameValueList* NameValueList::Join(NameValueList* first, NameValueList* second) {
    return JoinRings(first, second);
}

NameValueList* NameValueList::put(NameValueList* list, const char* szName, const char* szParent,
                                  int subid) {
    NameValueList* rec = new NameValueList{nullptr, nullptr, szName, szParent, subid};
    if (!list) {
        rec->forw = rec->back = rec;
        return rec;
    }
    NameValueList* last = list->back;  // the first record's back link: no walk needed
    rec->forw = list;
    rec->back = last;
    last->forw = rec;
    list->back = rec;
    return list;
}

// Writes the records from the last to the first; a name already written to
// the ".imports" file, by this list or an earlier one, is skipped.
void NameValueList::dump(FILE* file) {
    smitext::Out out(file);
    NameValueList* rec = back;
    for (;;) {
        const char* szName = rec->szName ? rec->szName : "";
        if (objIdList.Add(szName)) {
            out.Put("\n");
            out.Put(szName);
            out.Put(" OBJECT IDENTIFIER ::= { ");
            out.Put(rec->szParent ? rec->szParent : "");
            out.Put(' ');
            out.PutInt(rec->subid);
            out.Put(" }");
        }
        if (rec == this) break;
        rec = rec->back;
    }
}

void NameValueList::FreeList(NameValueList* list) {
    if (!list) return;
    NameValueList* rec = list->forw;
    while (rec != list) {
        NameValueList* next = rec->forw;
        delete rec;
        rec = next;
    }
    delete list;
}

bool CMib2Trap::ProcessImports(importFilesList* importFile, FILE* file) {
    if (!importFile || !importFile->szLabel) return false;
    const std::string szModule = importFile->szLabel;

    // Candidate file names: "<module>.mib"; the lower-cased name with a
    // trailing "-MIB" (in any case) cut off, plus ".mib"; "<module>.mib"
    // lower-cased.
    const std::string first = szModule + ".mib";
    std::string stem = szModule;
    if (stem.size() > 4) {
        const std::string suffix = stem.substr(stem.size() - 4);
        if (Lower(suffix) == "-mib") stem.resize(stem.size() - 4);
    }
    const std::string second = Lower(stem + ".mib");
    const std::string third = Lower(first);

    CloseInput();
    // A module name too long for the 256-character file-name buffers, or one
    // that names a path rather than a file of the working folder, is reported
    // as not found without any file being opened.
    const std::string* opened = nullptr;
    if (first.size() < kFileNameLen && !ModuleNameIsPath(szModule.c_str())) {
        for (const std::string* name : {&first, &second, &third}) {
            OpenInput(name->c_str());
            if (m_pInFile) {
                opened = name;
                break;
            }
        }
    }
    if (!opened) {
        printf("\nFailed to open import file: %s", third.c_str());
        return false;
    }
    printf("\nProcessing import file: %s", opened->c_str());

    const bool importedAgain = ImportedAgain(szModule) && importReuse.enabled;
    struct stat st;
    const bool identified = fstat(fileno(m_pInFile), &st) == 0;
    ModListNode* mods = nullptr;  // kept in importedModules
    auto kept = importReuse.kept.find(szModule);
    if (kept != importReuse.kept.end() && identified && SameFile(kept->second, *opened, st)) {
        // Parsed before: the same records, and the trace the parse wrote.
        // Its types were all written then, so none is written now.
        const ReusableImport& r = kept->second;
        CloseInput();
        if (m_pTrapFile) fwrite(r.trace.data(), 1, r.trace.size(), m_pTrapFile.get());
        mods = r.mods;
        ++importReuse.reused;
        if (!importedAgain) importReuse.kept.erase(kept);
    } else {
        // A module that will be imported again has its trace records caught
        // in memory, so that they can be written again; they go to the
        // trace file as soon as the parse is over.
        std::unique_ptr<TraceCapture> capture;
        if (importedAgain && identified && m_pTrapFile) capture = std::make_unique<TraceCapture>(m_pTrapFile);
        const unsigned messagesBefore = m_nMessages;

        ModListPtr parsed(Parse(2));
        CloseInput();
        if (parsed) {
            importedModules.push_back(parsed.get());
            mods = parsed.release();
        }

        if (capture) {
            capture->Finish();
            if (capture->Size() != 0) fwrite(capture->Bytes(), 1, capture->Size(), m_pTrapFile.get());
            if (mods && m_nMessages == messagesBefore) {
                ReusableImport& r = importReuse.kept[szModule];
                r.fileName = *opened;
                r.device = st.st_dev;
                r.inode = st.st_ino;
                r.size = st.st_size;
                r.modified = st.st_mtim;
                r.mods = mods;
                r.trace.assign(capture->Bytes(), capture->Size());
            } else {
                importReuse.kept.erase(szModule);
            }
        } else {
            importReuse.kept.erase(szModule);
        }
        PrintUserTypes(file);
    }

    for (ModListNode* mod = mods; mod; mod = mod->next_mod) {
        ModuleDefinitions defs(mod->node);
        for (keyword* kp = importFile->imports; kp; kp = kp->next) {
            if (!kp->szLabel) continue;
            const NameValueListPtr list(ResolveParent(defs, kp->szLabel, nullptr));
            if (list) list->dump(file);
        }
    }
    return true;
}

ModuleDefinitions::ModuleDefinitions(node* first) {
    for (node* np = first; np; np = np->next) byLabel.Add(np);
}

// Adds the registration of szLabel and of its ancestors to the list, so that
// dump (which writes the list from its end) writes every parent before its
// children.
//
// The registrations are resolved label by label: a label defined in the
// module adds, for each of its definitions d1..dk in module order, the record
// of that definition followed by the registrations of its parent.  dump
// writes the list backwards and only the first record of each name, so what
// it writes is the sequence R(label): for dk down to d1, R(parent) and then
// the record.  R is computed here directly with an explicit stack and put on
// the list in the opposite order.  A label is expanded once for a module:
// expanding it again would only repeat names that come earlier (in this
// list, or in a list of an earlier call with the same definitions, which
// ProcessImports has written by now), and dump writes a name only the first
// time.  This keeps the cost linear in the module over all the labels
// imported from it, and ends a cycle of labels that name each other as
// parent.
NameValueList* CMib2Trap::ResolveParent(ModuleDefinitions& defs, const char* szLabel, NameValueList* list) {
    if (!szLabel) return list;

    struct Step {
        bool bExpand;  // expand szName; otherwise emit (szName, szParent, subid)
        const char* szName;
        const char* szParent;
        int subid;
    };
    std::vector<Step> stack{{true, szLabel, nullptr, 0}};
    std::vector<Step> order;  // the records in the order dump writes them

    while (!stack.empty()) {
        const Step step = stack.back();
        stack.pop_back();
        if (!step.bExpand) {
            order.push_back(step);
            continue;
        }
        const char* label = step.szName;
        if (IsRootLabel(label)) continue;
        const uint64_t labelHash = flat::HashText(label);
        if (defs.expanded.Contains(label, labelHash)) continue;
        if (label == szLabel) {
            // The caller's text may not outlive this call: the set keeps a
            // copy of it.
            const size_t len = std::strlen(label);
            std::unique_ptr<char[]> copy(new char[len + 1]);
            std::memcpy(copy.get(), label, len + 1);
            defs.copies.push_back(std::move(copy));
            defs.expanded.InsertNew(defs.copies.back().get(), labelHash);
        } else {
            defs.expanded.InsertNew(label, labelHash);
        }

        // Pushed in reverse of the order in which they are to run.
        const FixedRegistration* fixed = FindFixed(label);
        if (fixed) {
            stack.push_back({false, fixed->szLabel, fixed->szParent, fixed->subid});
            if (!fixed->bThenModule) continue;
            stack.push_back({true, fixed->szParent, nullptr, 0});
        }
        for (uint32_t at = defs.byLabel.First(label); at != flat::AllByLabel::kNone; at = defs.byLabel.Next(at)) {
            const node* d = defs.byLabel.Record(at);
            stack.push_back({false, d->szLabel, d->szParent, d->subid});
            stack.push_back({true, d->szParent, nullptr, 0});
        }
    }

    // Built apart and joined to the caller's list at the end, so that the
    // records made are released should memory run out on the way.
    NameValueListPtr added;
    for (auto it = order.rbegin(); it != order.rend(); ++it) {
        NameValueList* grown = NameValueList::put(added.get(), it->szName, it->szParent, it->subid);
        if (!added) added.reset(grown);
    }
    return NameValueList::Join(list, added.release());
}
