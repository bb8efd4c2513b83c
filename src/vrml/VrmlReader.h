// VRML 1.0 reading: one reader object that holds the whole state of a read,
// from the bytes of the file through the tokens to the parsed node records.
//
// The reader is not re-entrant. `KelpReadWrl` uses one process-wide instance
// (`vrmlReader()`), so that the text of the last error stays readable after a
// read; tests may build their own instances to drive the layers directly.
#pragma once

#include "io/FileHandle.h"
#include "scan/ScanSource.h"

#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace KelpVrml {

// Token codes besides single characters (which come back as their own,
// signed, byte value) and the keyword codes of VrmlKeywords.h.
enum VrmlTokenCode : int {
    kTokenEnd = 0,
    kTokenBadNumber = -1,
    kTokenIdentifier = 1021,
    kTokenNumber = 1022,
    kTokenComment = 1023,
    kTokenString = 1133,
};

// Numbers, identifiers and strings are collected in a buffer of this size.
inline constexpr int kTokenBufferSize = 512;
// DEF names keep at most this many characters.
inline constexpr int kNameLength = 24;

struct VrmlToken {
    int code = kTokenEnd;
    float value = 0.0f;
    char text[kTokenBufferSize] = {};
};

// One field of a node: its keyword code and its 32-bit values. A field that
// holds a single enum word, boolean, integer or float keeps it in `word`
// (float as bits); lists keep theirs in the arrays. `count` is the number of
// 32-bit values, not of vectors.
struct VrmlField {
    int kind = 0;
    int count = 0;
    std::uint32_t word = 0;
    std::vector<float> floats;
    std::vector<std::int32_t> ints;
    std::vector<std::string> strings;
};

struct VrmlNode {
    int type = 0;
    char name[kNameLength + 1] = {};
    int isReference = 0;
    std::vector<VrmlField> fields;
    std::vector<VrmlNode*> children;
};

struct VrmlDefEntry {
    char name[kNameLength + 1] = {};
    VrmlNode* node = nullptr;
};

struct VrmlFieldLayout;
struct VrmlNodeLayout;
struct VrmlWindowToken;
struct VrmlParseFrame;

// What the parse of an open node asks of the loop that drives it.
enum class ParseStep {
    Group,     // a group's "{" was read: read its body
    Child,     // the group's body needs its next child node
    Finished,  // the node is done (its record, or null)
};

class VrmlReader {
public:
    VrmlReader();
    ~VrmlReader();
    VrmlReader(const VrmlReader&) = delete;
    VrmlReader& operator=(const VrmlReader&) = delete;

    // --- Token layer -----------------------------------------------------

    // Resets the reader (line 1, empty DEF table, no error), opens `path`
    // and reads the first look-ahead token. False with an error text when
    // the file does not open or starts with a bad token.
    bool open(const char* path);
    // Closes the file; the parsed records stay until releaseScene().
    void close();
    // Clears the end-of-input flag, as each read does before it opens.
    void clearEndOfInput() { endOfInput_ = false; }

    // Consumes the look-ahead token and returns its code; the next
    // non-comment token becomes the look-ahead.
    int nextToken();
    const VrmlToken& current() const { return *current_; }
    const VrmlToken& lookAhead() const { return *lookAhead_; }
    int line() const { return line_; }
    bool atEndOfInput() const { return endOfInput_; }

    // The last error as formatted text, or "no vrml error".
    const char* errorText() const { return errorText_; }

    // --- Node layer ------------------------------------------------------

    // Parses one node; null on failure (the error text says why). Depth 0 is
    // the top node; a missing "}" is only an error below it. Nesting costs
    // heap memory, not native stack.
    VrmlNode* parseNode(int depth);

    // Frees every node record and the DEF table.
    void releaseScene();

private:
    // Reads one raw token into `token`, comments included (code 1023).
    int readRawToken(VrmlToken& token);

    // Byte source with one character of push-back; bytes come back as
    // signed chars, so -1 is both the end of the file and a 0xFF byte.
    // Lines are counted as bytes leave the file, so a pushed-back line feed
    // counts once. A pushed-back byte other than -1 is always the one just
    // before the window's cursor.
    int readChar() {
        if (hasPushBack_) {
            hasPushBack_ = false;
            return pushBack_;
        }
        if (!source_) return -1;
        const int byte = source_->get();
        if (byte < 0) return -1;
        const int c = static_cast<signed char>(byte);
        if (c == '\n') ++line_;
        return c;
    }
    void pushBack(int c) {
        hasPushBack_ = true;
        pushBack_ = c;
    }

    // The usual token (white space, then a number, a word or a punctuation
    // character that ends inside the window) read where it lies; false, with
    // nothing consumed, for anything readRawToken must do byte by byte.
    bool readTokenInWindow(VrmlToken& token);
    // Where the next token's bytes start in the window, and the line feeds
    // among them that have been counted already (a pushed-back one).
    bool windowStart(const unsigned char*& p, int& counted) const;
    // Takes a token found in the window as the look-ahead: the window's
    // cursor moves behind it, its line feeds are counted, and a number or a
    // word pushes back the byte that ended it.
    void commitWindowToken(const VrmlWindowToken& found, int lines, VrmlToken& token);
    // The tight loops for long lists of plain numbers: they take numbers and
    // commas from the window as the token loops would and stop, with the
    // look-ahead in place, at anything else.
    void takeIndexRunInWindow(std::vector<std::int32_t>& ints);
    void takeVectorRunInWindow(std::vector<float>& floats);
    // A point or index list of a regular file, sized once ahead from the
    // bytes its first values took (see scan/ScanSizing.h).
    struct ListSizing {
        std::uint64_t start = 0;  // the file offset at the list's "["
        bool done = false;
    };
    ListSizing startListSizing() const;
    template <typename T>
    void sizeListAhead(std::vector<T>& values, ListSizing& sizing) const;

    int readNumber(VrmlToken& token, int first);
    int convertNumber(VrmlToken& token, int length);
    int readIdentifier(VrmlToken& token, int first);
    int readString(VrmlToken& token);

    void setError(const char* message);
    void setErrorWithLine(const char* message);
    bool expectOpenBrace();

    ParseStep startNode(VrmlParseFrame& frame, bool nested);
    ParseStep runNode(VrmlParseFrame& frame, int code);
    ParseStep resumeNode(VrmlParseFrame& frame);
    ParseStep runGroupBody(VrmlParseFrame& frame);
    ParseStep failGroup(VrmlParseFrame& frame);
    ParseStep finishNode(VrmlParseFrame& frame, int code);
    static ParseStep finishWith(VrmlParseFrame& frame, VrmlNode* result);
    bool parseLeafBody(const VrmlNodeLayout& layout, std::vector<VrmlField>& fields);
    bool readFieldValue(const VrmlFieldLayout& layout, VrmlField& field);
    bool readOneNumber(float& value);
    bool readPlainNumbers(int n, std::vector<float>& out);
    bool readNumbers(int n, std::vector<float>& out);
    template <typename ReadItem>
    bool readListItems(ReadItem readItem);
    bool readVectorList(VrmlField& field);
    bool readIntegerList(VrmlField& field);
    bool readFloatList(VrmlField& field);
    bool readStringList(VrmlField& field);
    bool readOneString(VrmlField& field);
    bool readEnumWord(VrmlField& field);
    bool readImage(VrmlField& field);
    bool endedInsideNode(int code) const { return code < 0 || (code == kTokenEnd && endOfInput_); }

    VrmlNode* storeCompletedNode(VrmlNode& node, bool defSeen);
    VrmlDefEntry* findDef(const char* name) const;

    // Input.
    KelpIo::FileHandle file_;
    std::unique_ptr<KelpScan::ScanSource> source_;
    bool endOfInput_ = false;
    bool hasPushBack_ = false;
    int pushBack_ = 0;
    int line_ = 1;
    std::string path_;
    std::uint64_t fileSize_ = 0;  // 0 where the file gives no size (a pipe)

    // Tokens: two slots that trade places as tokens are consumed.
    VrmlToken slots_[2];
    VrmlToken* current_ = &slots_[0];
    VrmlToken* lookAhead_ = &slots_[1];

    // Errors.
    const char* errorText_;
    std::string errorBuffer_;

    // Nodes: every record made during the read, and the DEF table with an
    // index by name for the lookups of USE (a later DEF of a name wins).
    std::vector<std::unique_ptr<VrmlNode>> records_;
    std::deque<VrmlDefEntry> defEntries_;
    std::unordered_map<std::string_view, VrmlDefEntry*> defIndex_;
};

// The reader that KelpReadWrl uses.
VrmlReader& vrmlReader();

// Test hook: the error text that the last KelpReadWrl left behind.
const char* lastVrmlError();

}  // namespace KelpVrml
