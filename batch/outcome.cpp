#include "outcome.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace batch {
namespace {

constexpr size_t kMaxField = 400;

bool StartsWith(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

// "Line: 12: text" -> 12 and "text"; false for any other line.
bool SplitDiagnostic(const std::string& line, int* number, std::string* text) {
    if (!StartsWith(line, "Line: ")) return false;
    char* end = nullptr;
    long n = std::strtol(line.c_str() + 6, &end, 10);
    if (end == line.c_str() + 6 || std::strncmp(end, ": ", 2) != 0) return false;
    *number = static_cast<int>(n);
    *text = std::string(end + 2);
    return true;
}

}  // namespace

const char* StatusName(Status status) {
    switch (status) {
        case Status::Ok: return "ok";
        case Status::Warnings: return "warnings";
        case Status::Failed: return "failed";
        case Status::Crashed: return "crashed";
        case Status::Timeout: return "timeout";
        case Status::Duplicate: return "duplicate";
        case Status::Skipped: return "skipped";
    }
    return "";
}

CompilerOutput ReadCompilerOutput(const std::string& text,
                                  const std::function<std::string(const std::string&)>& fileOf,
                                  const std::function<bool(const std::string&, int, const std::string&)>& isMacroStop) {
    static const char kReserved[] = "Error defining object: expected a label, found reserved symbol ";
    CompilerOutput out;
    bool compiling = false;   // past the "Compiling" line
    bool inImports = false;   // past the main module's own messages
    bool importOpen = false;  // an import file is being parsed
    bool importDone = false;  // ... and its parse has already stopped
    std::string importName, importFile;
    bool notFoundPending = false;

    size_t pos = 0;
    while (pos < text.size()) {
        size_t eol = text.find('\n', pos);
        if (eol == std::string::npos) eol = text.size();
        std::string line = text.substr(pos, eol - pos);
        pos = eol + 1;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        if (!compiling) {
            compiling = StartsWith(line, "Compiling ");
            continue;
        }
        int number;
        std::string message;
        if (StartsWith(line, "Processing import file: ")) {
            inImports = importOpen = true;
            importDone = notFoundPending = false;
            importName = line.substr(24);
            importFile = fileOf(importName);
        } else if (StartsWith(line, "Failed to open import file: ")) {
            inImports = true;
            importOpen = false;
            notFoundPending = true;
        } else if (StartsWith(line, "could not compile module ")) {
            inImports = true;
            std::string module = line.substr(25);
            const char* initFailed = ". init failed.";
            bool init = module.size() > std::strlen(initFailed) &&
                        module.compare(module.size() - std::strlen(initFailed), std::string::npos, initFailed) == 0;
            if (init) module.resize(module.size() - std::strlen(initFailed));
            out.failedImports.push_back(module);
            out.imports.push_back({module, "", notFoundPending ? "not found" : init ? "init failed" : "failed"});
            notFoundPending = importOpen = false;
        } else if (line == "Mib Compilation completed successfully") {
            out.success = true;
        } else if (line == "Mib file compilation completed with warnings") {
            out.withWarnings = true;
        } else if (line == "Mib compilation failed.") {
            // The diagnostics before it say why.
        } else if (!inImports) {
            if (out.firstDiagnostic.empty()) out.firstDiagnostic = line;
        } else if (importOpen && !importDone && SplitDiagnostic(line, &number, &message) &&
                   !StartsWith(message, "Warning")) {
            // The parse of an import stops at its first error.
            importDone = true;
            bool macro = StartsWith(message, kReserved) &&
                         isMacroStop(importFile, number, message.substr(std::strlen(kReserved)));
            if (!macro) {
                std::string module = importName;
                if (module.size() > 4 && module.compare(module.size() - 4, 4, ".mib") == 0)
                    module.resize(module.size() - 4);
                out.imports.push_back({module, importFile, line});
            }
        }
    }
    return out;
}

bool IsMacroDefinition(const std::string& text, int line, const std::string& symbol) {
    if (line < 1 || symbol.empty()) return false;
    size_t pos = 0;
    for (int n = 1; n < line; ++n) {
        pos = text.find('\n', pos);
        if (pos == std::string::npos) return false;
        ++pos;
    }
    size_t eol = text.find('\n', pos);
    std::string current = text.substr(pos, eol == std::string::npos ? std::string::npos : eol - pos);
    size_t at = current.find(symbol);
    if (at == std::string::npos) return false;
    at += symbol.size();
    size_t word = current.find_first_not_of(" \t\r", at);
    if (word == at) return false;  // the symbol is only the start of a longer word
    return word != std::string::npos && current.compare(word, 5, "MACRO") == 0;
}

int CountTraps(const std::string& cfg) {
    static const char kTrap[] = " TRAP-TYPE";
    const size_t n = std::strlen(kTrap);
    int count = 0;
    size_t pos = 0;
    while (pos < cfg.size()) {
        size_t eol = cfg.find('\n', pos);
        if (eol == std::string::npos) eol = cfg.size();
        // "label TRAP-TYPE": one word at the start of the line, then the keyword.
        if (eol - pos > n && cfg.compare(eol - n, n, kTrap) == 0 && cfg[pos] != ' ' && cfg[pos] != '\t' &&
            cfg.find_first_of(" \t", pos) == eol - n)
            ++count;
        pos = eol + 1;
    }
    return count;
}

std::string Field(const std::string& text) {
    std::string field;
    field.reserve(std::min(text.size(), kMaxField));
    for (char c : text) {
        if (field.size() >= kMaxField) {
            field += "...";
            break;
        }
        unsigned char u = static_cast<unsigned char>(c);
        field += (u < 0x20 || u == 0x7f) ? ' ' : c;
    }
    return field;
}

std::string ImportsColumn(const std::vector<ImportProblem>& imports) {
    std::string column;
    for (const ImportProblem& problem : imports) {
        if (!column.empty()) column += "; ";
        column += problem.module + ": " + problem.message;
        if (!problem.file.empty()) column += " (" + problem.file + ")";
    }
    return column;
}

}  // namespace batch
