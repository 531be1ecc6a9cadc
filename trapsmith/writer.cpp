// PrintMIB: writes the parsed modules of the main MIB file as SMIv1 text.
//
// Each module is written as its user types, then its registrations, objects
// and traps in an order in which a parent defined in the same module comes
// before its children, then "END".  A process-wide list of the labels
// already written refuses a second OBJECT IDENTIFIER, OBJECT-IDENTITY,
// TRAP-TYPE or NOTIFICATION-TYPE of the same name.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "mib2trap.h"
#include "smitext.h"

// Name of the module PrintMIB wrote last (a heap copy), for the ".cfg" header.
char* szMibModuleName = nullptr;

namespace {

// Labels of the checked records written so far, in the order written.  The
// list keeps its own copies of the labels, so it stays valid when the module
// lists they came from have been freed.
WrittenNames objIdList;

using smitext::Text;
using smitext::WriteEnums;
using smitext::WriteNamed;
using smitext::kTextualConventionNames;

// The reserved word of a token code, for syntaxes that are written by name.
const char* KeywordOfCode(int code) {
    for (const tok* t = g_tokens; t->szName; ++t)
        if (t->nToken == code) return t->szName;
    return "";
}

bool IsChecked(int type) {
    return type == TOK_OBJECT_IDENTIFIER || type == TOK_OBJECT_IDENTITY || type == TOK_TRAP_TYPE ||
           type == TOK_NOTIFICATION_TYPE;
}

bool IsRegistration(int type) {
    return type == TOK_OBJECT_IDENTIFIER || type == TOK_OBJECT_IDENTITY ||
           type == TOK_MODULE_IDENTITY || type == TOK_OBJECT_GROUP ||
           type == TOK_NOTIFICATION_GROUP;
}

bool IsTrap(int type) { return type == TOK_TRAP_TYPE || type == TOK_NOTIFICATION_TYPE; }

// The INDEX clause "\tINDEX { a , b }\n", built in a string so that an INDEX
// list of any length fits; empty when the list has no element.
std::string IndexText(const MibTokenList* head) {
    std::string text;
    if (!head) return text;
    for (const MibTokenList* e = head->forw; e && e != head; e = e->forw) {
        if (text.empty()) {
            text = "\tINDEX { ";
            text += Text(e->szToken);
            text += ' ';
        } else {
            text += ", ";
            text += Text(e->szToken);
        }
    }
    if (!text.empty()) text += " }\n";
    return text;
}

// The SYNTAX text of an OBJECT-TYPE; returns the INDEX text it builds for a
// named type.
std::string WriteSyntax(smitext::Out& out, const node* np) {
    std::string index;
    const int code = np->syntax;
    switch (code) {
    case TOK_LABEL:
        out.Put(Text(np->szUserDef));
        out.Put('\n');
        index = IndexText(np->index_names);
        break;
    case TOK_OBJECT_IDENTIFIER:
        out.Put("OBJECT IDENTIFIER\n");
        break;
    case TOK_OCTET_STRING:
        WriteNamed(out, "OCTET STRING", np->szSubtype);
        break;
    case TOK_INTEGER:
    case TOK_UNSIGNED32:
        if (np->enums)
            WriteEnums(out, "INTEGER {\n", np->enums);
        else
            WriteNamed(out, "INTEGER", np->szSubtype);
        break;
    case TOK_NETWORKADDRESS: out.Put("NetworkAddress\n"); break;
    case TOK_IPADDRESS: out.Put("IpAddress\n"); break;
    case TOK_COUNTER:
    case TOK_COUNTER64: out.Put("Counter\n"); break;
    case TOK_GAUGE: out.Put("Gauge\n"); break;
    case TOK_TIMETICKS: out.Put("TimeTicks\n"); break;
    case TOK_OPAQUE: out.Put("Opaque\n"); break;
    case TOK_SEQUENCE:
        out.Put("SEQUENCE {\n");
        for (const tagBracedList* b = np->sequence; b; b = b->pNext) {
            out.Put(b == np->sequence ? "\t" : ",\n\t");
            out.Put(Text(b->szString));
        }
        out.Put("\n\t}\n");
        break;
    case TOK_OF:
        WriteNamed(out, Text(np->szUserDef), nullptr);
        break;
    case TOK_DISPLAYSTRING:
        WriteNamed(out, "DisplayString", np->szSubtype);
        break;
    case TOK_PHYSADDRESS:
        WriteNamed(out, "PhysAddress", np->szSubtype);
        break;
    case TOK_BITS:
        if (np->enums)
            WriteEnums(out, "OCTET STRING {\n", np->enums);
        else
            WriteNamed(out, "OCTET STRING", np->szSubtype);
        break;
    default:
        if (code >= TOK_MACADDRESS && code <= TOK_TADDRESS)
            WriteNamed(out, kTextualConventionNames[code - TOK_MACADDRESS], np->szSubtype);
        else
            // A syntax without a type name of its own (SYNTAX NULL) is
            // written as its keyword.
            WriteNamed(out, np->szUserDef ? np->szUserDef : KeywordOfCode(code), nullptr);
        break;
    }
    return index;
}

const char* AccessWord(int access) {
    switch (access) {
    case 1: return "read-write\n";
    case 2: return "write-only\n";
    case 3: return "not-accessible\n";
    default: return "read-only\n";  // also read-create, accessible-for-notify, none
    }
}

const char* StatusWord(int status) {
    switch (status) {
    case TOK_MANDATORY: return "mandatory\n";
    case TOK_OBSOLETE: return "obsolete\n";
    default: return "optional\n";
    }
}

// " { parent subid }" and what follows it.
void WriteValue(smitext::Out& out, const node* np, const char* szAfter) {
    out.Put(" { ");
    out.Put(np->szParent);
    out.Put(' ');
    out.PutInt(np->subid);
    out.Put(szAfter);
}

void WriteObjectType(smitext::Out& out, const node* np) {
    out.Put(np->szLabel);
    out.Put(" OBJECT-TYPE\n\tSYNTAX ");
    const std::string index = WriteSyntax(out, np);
    out.Put("\tACCESS ");
    out.Put(AccessWord(np->smi_access));
    out.Put("\tSTATUS ");
    out.Put(StatusWord(np->status));
    out.Put("\tDESCRIPTION \"");
    out.Put(Text(np->szDescr));
    out.Put("\"\n");
    if (!index.empty()) {
        out.Put(index.data(), index.size());
        out.Put('\n');
    }
    out.Put("\t::=");
    WriteValue(out, np, " }\n\n");

    // The row structure declared right after this object, headed by the
    // object's own label.
    const node* seq = np->userDefinedSequence;
    if (seq && seq->sequence) {
        out.Put(np->szLabel);
        out.Put(" ::=\n\tSEQUENCE {\n");
        for (const tagBracedList* b = seq->sequence; b; b = b->pNext) {
            out.Put(b == seq->sequence ? "\t\t" : ",\n\t\t");
            out.Put(Text(b->szString));
        }
        out.Put("\n\t\t}\n");
    }
}

// First record of the output queue for each label; the keys view the labels
// of the queued records.
using QueueIndex = flat::FirstByLabel;

void WriteTrap(smitext::Out& out, const node* np, const QueueIndex& firstInQueue) {
    out.Put(np->szLabel);
    out.Put(" TRAP-TYPE\n");
    if (np->type == TOK_TRAP_TYPE) {
        out.Put("\tENTERPRISE ");
        out.Put(Text(np->szEnterprise));
        out.Put('\n');
    } else {
        // A notification registered under a 0 arc (enterprise.0.n) becomes
        // the SMIv1 trap n of that enterprise, that is of its grandparent;
        // any other notification is a trap of its parent.
        const char* szEnterprise = np->szParent;
        if (const node* first = firstInQueue.Find(np->szParent))
            szEnterprise = first->subid != 0 ? first->szLabel : first->szParent;
        out.Put("\tENTERPRISE ");
        out.Put(szEnterprise);
        out.Put('\n');
    }
    const MibTokenList* vars = np->augment_name;
    if (vars && vars->forw && vars->forw != vars) {
        for (const MibTokenList* e = vars->forw; e && e != vars; e = e->forw) {
            out.Put(e == vars->forw ? "\tVARIABLES { " : ", ");
            out.Put(Text(e->szToken));
        }
        out.Put(" }\n");
    }
    for (const keyword* kp = np->keyword; kp; kp = kp->next) {
        out.Put("\n\t--");
        out.Put(Text(kp->szLabel));
        out.Put('\n');
    }
    out.Put("DESCRIPTION \"");
    out.Put(Text(np->szDescr));
    out.Put("\"\n\t::= ");
    out.PutInt(np->subid);
    out.Put("\n\n");
}

void WriteRecord(smitext::Out& out, const node* np, const QueueIndex& firstInQueue) {
    if (IsRegistration(np->type)) {
        out.Put(np->szLabel);
        out.Put(" OBJECT IDENTIFIER ::=");
        WriteValue(out, np, " }\n");
    } else if (np->type == TOK_OBJECT_TYPE)
        WriteObjectType(out, np);
    else if (IsTrap(np->type))
        WriteTrap(out, np, firstInQueue);
}

}  // namespace

void ResetPrintMIBState() {
    objIdList.Clear();
    delete[] szMibModuleName;
    szMibModuleName = nullptr;
}

bool CMib2Trap::PrintMIB(ModListNode* pHead, FILE* file) {
    for (ModListNode* mod = pHead; mod; mod = mod->next_mod) {
        const size_t nameLen = strnlen(mod->szModName, sizeof mod->szModName);
        char* name = new char[nameLen + 1];
        std::memcpy(name, mod->szModName, nameLen);
        name[nameLen] = '\0';
        delete[] szMibModuleName;
        szMibModuleName = name;

        PrintUserTypes(file);

        // vAll holds the objects and registrations, then the traps; the
        // queue receives each of them once, so both are sized exactly.
        size_t nObjIds = 0, nTraps = 0;
        for (const node* np = mod->node; np; np = np->next) {
            if (np->type == TOK_OBJECT_TYPE || IsRegistration(np->type))
                ++nObjIds;
            else if (IsTrap(np->type))
                ++nTraps;
        }
        std::vector<node*> vAll(nObjIds + nTraps);
        // One walk fills both parts: the records lie far apart in memory.
        size_t nextObjId = 0, nextTrap = nObjIds;
        for (node* np = mod->node; np; np = np->next) {
            if (np->type == TOK_OBJECT_TYPE || IsRegistration(np->type))
                vAll[nextObjId++] = np;
            else if (IsTrap(np->type))
                vAll[nextTrap++] = np;
        }

        ModuleQueue queue(vAll);
        for (node* np : vAll) AddToQueue(queue, np);
        const std::vector<node*>& npQueue = queue.records;

        QueueIndex firstInQueue;
        if (nTraps != 0) {
            firstInQueue.Reserve(npQueue.size());
            for (node* np : npQueue) firstInQueue.Emplace(np);
        }

        // The records are gathered in a buffer of their own; PrintUserTypes
        // has written its types by now.
        smitext::Out out(file);
        for (const node* np : npQueue) {
            out.Put('\n');
            if (IsChecked(np->type)) {
                if (objIdList.Contains(np->szLabel)) {
                    printf(IsTrap(np->type) ? "\nDuplicate trap object %s on line %d"
                                            : "\nDuplicate object %s on line %d",
                           np->szLabel, np->def_line);
                    return false;
                }
                objIdList.Add(np->szLabel);
            }
            WriteRecord(out, np, firstInQueue);
        }
        out.Put("\nEND\n\n");
    }
    return true;
}

ModuleQueue::ModuleQueue(const std::vector<node*>& all) {
    records.reserve(all.size());
    queued.Reserve(all.size());
    firstByLabel.Reserve(all.size());
    for (node* np : all)
        if (np) firstByLabel.Emplace(np);
}

// Appends np to the queue, preceded by its ancestors that are not queued yet,
// outermost first.  The chain of ancestors is collected with an explicit
// stack, so a long chain cannot exhaust the call stack; a parent that is
// already on the chain closes a cycle and counts as not found, which ends the
// chain there.
void CMib2Trap::AddToQueue(ModuleQueue& queue, node* np) {
    if (!np || queue.queued.Contains(np)) return;

    // Most chains are one or two records long and are searched directly; a
    // long chain gets a set, so that it cannot cost quadratic time.
    constexpr size_t kShortChain = 16;
    std::vector<node*>& chain = queue.chain;
    flat::PointerSet& onChain = queue.onChain;
    chain.assign(1, np);
    onChain.Clear();
    auto isOnChain = [&](const node* p) {
        if (chain.size() <= kShortChain) return std::find(chain.begin(), chain.end(), p) != chain.end();
        if (onChain.Empty())
            for (const node* c : chain) onChain.Insert(c);
        return onChain.Contains(p);
    };
    for (node* cur = np;;) {
        node* parent = queue.firstByLabel.Find(cur->szParent);
        if (parent == nullptr) break;
        if (queue.queued.Contains(parent) || isOnChain(parent)) break;
        chain.push_back(parent);
        if (!onChain.Empty()) onChain.Insert(parent);
        cur = parent;
    }
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        queue.records.push_back(*it);
        queue.queued.Insert(*it);
    }
}
