// What one compile came to: its status, the message and the incomplete
// imports read from what the compiler printed, and the rows and summary of
// the report.
#ifndef TRAPSMITH_BATCH_OUTCOME_H
#define TRAPSMITH_BATCH_OUTCOME_H

#include <functional>
#include <string>
#include <vector>

namespace batch {

enum class Status { Ok, Warnings, Failed, Crashed, Timeout, Duplicate, Skipped };

const char* StatusName(Status status);

// One imported module that did not contribute all its registrations.
struct ImportProblem {
    std::string module;   // as the FROM clause names it
    std::string file;     // the file it came from, or empty when not found
    std::string message;  // "not found", or the first message of its parse
};

struct CompilerOutput {
    std::string firstDiagnostic;             // of the module itself, with its line
    std::vector<std::string> failedImports;  // "could not compile module M" names
    std::vector<ImportProblem> imports;
    bool success = false;       // "Mib Compilation completed successfully"
    bool withWarnings = false;  // "Mib file compilation completed with warnings"
};

// Reads the compiler's standard output.  `fileOf` turns the name of an
// import file that the compiler opened (a link of the scratch folder) into
// the file's own path; `isMacroStop` tells whether a parse that stopped at
// "found reserved symbol S" on line N of that file met a macro definition
// ("S MACRO"), which is how the modules defining the SMI macros end by design.
CompilerOutput ReadCompilerOutput(const std::string& text,
                                  const std::function<std::string(const std::string&)>& fileOf,
                                  const std::function<bool(const std::string& file, int line,
                                                           const std::string& symbol)>& isMacroStop);

// True when line `line` (1-based) of `text` holds `symbol` followed by the
// word MACRO.
bool IsMacroDefinition(const std::string& text, int line, const std::string& symbol);

// The TRAP-TYPE definitions of a ".cfg" text.
int CountTraps(const std::string& cfg);

// A report field: tabs, line breaks and other control characters become
// blanks, and a very long text is cut.
std::string Field(const std::string& text);

// The imports column: "MODULE: message (file)" for each, joined by "; ".
std::string ImportsColumn(const std::vector<ImportProblem>& imports);

}  // namespace batch

#endif  // TRAPSMITH_BATCH_OUTCOME_H
