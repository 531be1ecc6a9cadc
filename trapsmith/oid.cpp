// Object identifier values: the braced component list written after "::="
// and the OBJECT IDENTIFIER assignment built from it.
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "mib2trap.h"

namespace {

// The leading number of a text, read as atoi reads it (white space, sign,
// digits).  A value beyond the range of int is held at INT_MAX or INT_MIN so
// that a huge component can never wrap round to the -1 that means "no
// number".
int ComponentNumber(const char* text) {
    long value = std::strtol(text, nullptr, 10);
    if (value > INT_MAX) return INT_MAX;
    if (value < INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

}  // namespace

// Reads "{ component ... }" into oider.  On failure the labels stored so far
// are released again, so a result of 0 leaves the caller nothing to free.
int CMib2Trap::GetOid(subid* oider, int length) {
    char szToken[TOKEN_BUF];
    int type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_BRACE || std::strcmp(szToken, "{") != 0) {
        DisplayMsg(195, szToken);
        return 0;
    }

    bool bNumberSeen = false;
    for (int i = 0;; ++i) {
        type = GetToken(m_pInFile, szToken, 0);
        if (type != TOK_LABEL) {
            if (!bNumberSeen) {
                DisplayMsg(196, szToken);
            } else if (type == TOK_BRACE && std::strcmp(szToken, "}") == 0) {
                return i;
            } else {
                DisplayMsg(197, szToken);
            }
            ReleaseOidLabels(oider, i);
            return 0;
        }
        if (i == length) {
            char szMax[16];
            std::snprintf(szMax, sizeof szMax, "%d", length);
            DisplayMsg(199, szMax);
            ReleaseOidLabels(oider, i);
            return 0;
        }

        subid& component = oider[i];
        component.szLabel = nullptr;
        component.nSubid = -1;
        if (std::isdigit(static_cast<unsigned char>(szToken[0]))) {
            component.nSubid = ComponentNumber(szToken);
            bNumberSeen = true;
            continue;
        }

        const char* open = std::strchr(szToken, '(');
        size_t labelLen = open ? static_cast<size_t>(open - szToken) : std::strlen(szToken);
        try {
            component.szLabel = CopyText(szToken, labelLen);
        } catch (...) {
            ReleaseOidLabels(oider, i);  // out of memory: nothing is left to the caller either
            throw;
        }
        if (open == nullptr) continue;
        if (std::strchr(open + 1, ')') == nullptr) {
            DisplayMsg(198, szToken);
            ReleaseOidLabels(oider, i + 1);
            return 0;
        }
        component.nSubid = ComponentNumber(open + 1);
        // A number given to the first component alone does not count: the
        // value must place something below it.
        if (i > 0) bNumberSeen = true;
    }
}

// Reads "::= { ... }" after "name OBJECT IDENTIFIER" and returns the chain of
// registration records it implies: one per labelled step of the value, then
// the record of szName itself.
node* CMib2Trap::ParseObjectId(char* szName) {
    char szToken[TOKEN_BUF];
    int type = GetToken(m_pInFile, szToken, 0);
    if (type != TOK_EQUALS) {
        DisplayMsg(151, szToken);
        return nullptr;
    }

    subid oider[16];
    const int n = GetOid(oider, 16);
    const OidLabels labels(oider, n);
    if (n == 0) return nullptr;

    // A value of one component names no parent, so it registers nothing; it is
    // refused here rather than handed on as a record without a number.
    if (n < 2) {
        DisplayMsg(153, szName);
        return nullptr;
    }

    node* first = CreateNode(TOK_OBJECT_IDENTIFIER);
    node* cur = first;
    bool bFailed = false;

    for (int i = 0; !bFailed && i + 2 < n; ++i) {
        const subid& parent = oider[i];
        const subid& child = oider[i + 1];
        if (parent.szLabel != nullptr && (child.szLabel != nullptr || child.nSubid != -1)) {
            cur->szParent = CopyLabel(parent.szLabel);
            if (child.szLabel != nullptr) cur->szLabel = CopyLabel(child.szLabel);
            cur->subid = child.nSubid;
            cur->type = 0;
            cur->enums = nullptr;
            cur->szSubtype = nullptr;
            cur->szUnits = nullptr;
            cur->next = CreateNode(0);
            cur = cur->next;
        }
        if (child.szLabel != nullptr && std::strcmp(child.szLabel, "iso") != 0 &&
            child.nSubid == -1) {
            DisplayMsg(152, child.szLabel);
            bFailed = true;
        }
    }

    if (!bFailed) {
        const subid& parent = oider[n - 2];
        const subid& last = oider[n - 1];
        if (parent.szLabel == nullptr) {
            DisplayMsg(153, szName);
            bFailed = true;
        } else {
            cur->szParent = CopyLabel(parent.szLabel);
            cur->szLabel = CopyLabel(szName);
            cur->def_line = m_nNameLine;
            if (last.nSubid == -1) {
                DisplayMsg(152, szName);
                bFailed = true;
            } else {
                cur->subid = last.nSubid;
            }
        }
    }

    // A failed assignment's records stay behind in the arena.
    return bFailed ? nullptr : first;
}
