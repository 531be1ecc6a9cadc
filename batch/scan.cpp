#include "scan.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <unordered_set>

namespace batch {
namespace {

bool IsBlank(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

// Splits a MIB text into words as the compiler sees them for the purposes of
// the scan: white space separates words, "--" opens a comment that ends at
// the next "--" or at the end of the line, and a quoted text ("...", over
// any number of lines) is one word standing for itself.  Words are views
// into the text: a whole tree is scanned without copying its words.
class Words {
public:
    Words(const char* data, size_t size) : p(data), end(data + size) {}

    // The next word, or false at end of input.  Quoted texts come back as
    // the single word "\"".
    bool Next(std::string_view* word) {
        for (;;) {
            while (p < end && IsBlank(static_cast<unsigned char>(*p))) ++p;
            if (p >= end) return false;
            if (IsCommentStart()) {
                SkipComment();
                continue;
            }
            if (*p == '"') {
                const void* close = std::memchr(p + 1, '"', static_cast<size_t>(end - p - 1));
                p = close ? static_cast<const char*>(close) + 1 : end;
                *word = "\"";
                return true;
            }
            const char* start = p;
            while (p < end && !IsBlank(static_cast<unsigned char>(*p)) && !IsCommentStart()) ++p;
            *word = std::string_view(start, static_cast<size_t>(p - start));
            return true;
        }
    }

private:
    bool IsCommentStart() const { return p + 1 < end && p[0] == '-' && p[1] == '-'; }

    // To the end of the line or past the next "--".
    void SkipComment() {
        p += 2;
        while (p < end) {
            const char* stop = p;
            while (stop < end && *stop != '\n' && *stop != '-') ++stop;
            p = stop;
            if (p >= end || *p == '\n') return;
            if (IsCommentStart()) {
                p += 2;
                return;
            }
            ++p;
        }
    }

    const char* p;
    const char* end;
};

// A module name taken from a FROM clause loses one trailing "," or ";".
std::string_view WithoutSeparator(std::string_view word) {
    if (!word.empty() && (word.back() == ',' || word.back() == ';')) word.remove_suffix(1);
    return word;
}

bool EndsWithSemicolon(std::string_view word) { return !word.empty() && word.back() == ';'; }

// The module name in the words before DEFINITIONS: the last word, or the word
// before a braced module identifier ("NAME { iso 3 } DEFINITIONS").
std::string_view ModuleNameBefore(const std::vector<std::string_view>& recent) {
    std::string_view last = recent.back();
    if (last.empty() || last.back() != '}') return last;
    for (size_t i = recent.size(); i-- > 0;) {
        size_t brace = recent[i].find('{');
        if (brace == std::string_view::npos) continue;
        if (brace > 0) return recent[i].substr(0, brace);
        return i > 0 ? recent[i - 1] : std::string_view();
    }
    return std::string_view();
}

}  // namespace

ScanResult ScanModules(const char* data, size_t size) {
    ScanResult result;
    std::unordered_set<std::string_view> seenImports;
    Words words(data, size);
    // The words before the current one, enough to see "NAME DEFINITIONS" and
    // "NAME { ... } DEFINITIONS".
    std::vector<std::string_view> recent;
    std::string_view word;
    bool inModule = false;
    while (words.Next(&word)) {
        if (word == "DEFINITIONS" && !recent.empty()) {
            std::string name(ModuleNameBefore(recent));
            std::string_view assign, begin;
            if (UsableModuleName(name) && words.Next(&assign)) {
                bool header = assign == "::=BEGIN" || (assign == "::=" && words.Next(&begin) && begin == "BEGIN");
                if (header) {
                    result.modules.push_back(name);
                    inModule = true;
                    recent.clear();
                    continue;
                }
                word = assign == "::=" ? begin : assign;
            }
        } else if (word == "IMPORTS" && inModule) {
            // Up to the word that ends in ";": each FROM names a module.
            std::string_view w;
            while (words.Next(&w)) {
                if (w == "FROM") {
                    if (!words.Next(&w)) break;
                    std::string_view module = WithoutSeparator(w);
                    if (!module.empty() && module != "\"" && seenImports.insert(module).second)
                        result.imports.emplace_back(module);
                }
                if (EndsWithSemicolon(w)) break;
            }
            recent.clear();
            continue;
        } else if (word == "END") {
            inModule = false;
        }
        recent.push_back(word);
        if (recent.size() > 64) recent.erase(recent.begin(), recent.begin() + 32);
    }
    return result;
}

bool LooksLikeText(const char* data, size_t size) {
    size_t control = 0;
    for (size_t i = 0; i < size; ++i) {
        unsigned char c = static_cast<unsigned char>(data[i]);
        if (c == 0) return false;
        if ((c < 0x20 && !IsBlank(c) && c != 0x1a) || c == 0x7f) ++control;
    }
    // A few stray control characters occur in published MIBs; binary data
    // has far more.
    return control * 100 <= size * 2;
}

bool UsableModuleName(const std::string& name) {
    if (name.empty() || name == "." || name == ".." || name == "\"") return false;
    return std::none_of(name.begin(), name.end(), [](char c) {
        return c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
    });
}

}  // namespace batch
