// The node layer of the VRML reader: the node loop with DEF and USE, the
// bodies of leaf and group nodes, and the records they leave.
//
// Groups nest as deep as the file nests them, so the parse keeps one frame
// per open node on a heap stack instead of recursing: depth costs memory
// only, and only decides whether a missing "}" is an error.
#include "vrml/VrmlKeywords.h"
#include "vrml/VrmlNodeLayout.h"
#include "vrml/VrmlReader.h"
#include "vrml/VrmlReport.h"

#include <algorithm>
#include <cstring>

namespace KelpVrml {

namespace {

// Index lists are stored as if every face were a triangle followed by its
// -1: of each four numbers kept by the reader the fourth is dropped, and the
// count becomes 3n/4.
void keepThreeOfFour(VrmlField& field) {
    const std::size_t kept = field.ints.size();
    const std::size_t count = kept * 3 / 4;
    for (std::size_t i = 0; i < count; ++i) field.ints[i] = field.ints[i + i / 3];
    field.ints.resize(count);
    field.count = clampedCount(count);
}

// Empties a node record and gives its arrays back.
void clearNode(VrmlNode& node) {
    node.type = 0;
    node.name[0] = '\0';
    node.isReference = 0;
    std::vector<VrmlField>().swap(node.fields);
    std::vector<VrmlNode*>().swap(node.children);
}

}  // namespace

// One open node: what a recursive parser would keep in its stack frame.
struct VrmlParseFrame {
    VrmlNode node;                          // the node under construction
    const VrmlNodeLayout* group = nullptr;  // set while the group's body is read
    bool nested = false;                    // below the top node
    bool defSeen = false;
    bool useHandled = false;
    bool parserFailed = false;
    char pendingName[kNameLength + 1] = {};
    VrmlNode* result = nullptr;  // once finished: the record, or null
};

// Fields of the node up to its "}" (not consumed); other tokens are passed
// over. The end of the input inside the braces fails the node.
bool VrmlReader::parseLeafBody(const VrmlNodeLayout& layout, std::vector<VrmlField>& fields) {
    while (lookAhead().code != '}') {
        const int code = nextToken();
        if (endedInsideNode(code)) return false;
        const int index = findField(layout, code);
        if (index < 0) continue;
        if (!readFieldValue(layout.fields[index], fields[static_cast<std::size_t>(index)])) return false;
        if (layout.stridedIndex && layout.fields[index].reader == FieldReader::IntList) {
            noteIfNotTriangles(layout.code, fields[static_cast<std::size_t>(index)], line());
            keepThreeOfFour(fields[static_cast<std::size_t>(index)]);
        }
    }
    return true;
}

// The node loop from the consumed token `code`: DEF and USE, a known node's
// "{" and body, and every other token passed over, up to "}" or the end of
// the input. A group's body is left to the caller (ParseStep::Group).
ParseStep VrmlReader::runNode(VrmlParseFrame& frame, int code) {
    while (code != '}' && code != kTokenEnd) {
        if (code == kDef) {
            if (frame.defSeen) {
                setErrorWithLine("DEF statement occured more than one time");
                return finishWith(frame, nullptr);
            }
            frame.defSeen = true;
            nextToken();
            if (current().text[0] == '\0') {
                setErrorWithLine("identifier expected");
                return finishWith(frame, nullptr);
            }
            // Longer names are cut to their first 24 characters.
            const std::size_t length = std::min<std::size_t>(std::strlen(current().text), kNameLength);
            std::memcpy(frame.pendingName, current().text, length);
            frame.pendingName[length] = '\0';
        } else if (code == kUse) {
            // A USE is the whole node: no braces follow it, and the token
            // after its name belongs to whoever reads next.
            nextToken();
            // The lookup's own message ("identifier expected", "reference
            // name not found") is replaced at once by this one.
            VrmlDefEntry* entry = current().text[0] ? findDef(current().text) : nullptr;
            if (!entry) {
                setErrorWithLine("\"use\" referenced node not found");
                return finishWith(frame, nullptr);
            }
            VrmlNode& node = frame.node;
            node.type = entry->node->type;
            std::memcpy(node.name, entry->node->name, sizeof node.name);
            node.isReference = 1;
            node.fields.clear();
            node.children.assign(1, entry->node);
            frame.useHandled = true;
            break;
        } else if (const VrmlNodeLayout* layout = nodeLayoutFor(code)) {
            if (!expectOpenBrace()) return finishWith(frame, nullptr);
            clearNode(frame.node);
            if (layout->group) {
                frame.group = layout;
                frame.node.fields = defaultFields(*layout);
                return ParseStep::Group;
            }
            std::vector<VrmlField> fields = defaultFields(*layout);
            if (parseLeafBody(*layout, fields)) {
                if (!layout->keepsNothing) {
                    frame.node.type = layout->code;
                    frame.node.fields = std::move(fields);
                }
            } else {
                setErrorWithLine(layout->syntaxMessage);
                frame.parserFailed = true;
            }
        }
        code = nextToken();
        if (code < 0 || frame.parserFailed) break;
    }
    return finishNode(frame, code);
}

// After a known node's body: the token behind it goes to the node loop.
ParseStep VrmlReader::resumeNode(VrmlParseFrame& frame) {
    const int code = nextToken();
    if (code < 0 || frame.parserFailed) return finishNode(frame, code);
    return runNode(frame, code);
}

// Fields and child nodes up to the group's "}" (not consumed); returns
// ParseStep::Child when the next child node is to be parsed. A Separator
// takes "renderCulling" as a lone keyword: it stores the keyword's own code
// and leaves the enum word after it to the next child's parse, which skips it.
ParseStep VrmlReader::runGroupBody(VrmlParseFrame& frame) {
    const VrmlNodeLayout& layout = *frame.group;
    std::vector<VrmlField>& fields = frame.node.fields;
    while (lookAhead().code != '}') {
        const int code = lookAhead().code;
        if (layout.code == kSeparator) {
            if (code == kRenderCulling) {
                nextToken();
                fields[0].word = static_cast<std::uint32_t>(kRenderCulling);
                continue;
            }
        } else if (const int index = findField(layout, code); index >= 0) {
            nextToken();
            if (!readFieldValue(layout.fields[index], fields[static_cast<std::size_t>(index)])) return failGroup(frame);
            continue;
        }
        return ParseStep::Child;
    }
    frame.node.type = layout.code;
    frame.group = nullptr;
    return resumeNode(frame);
}

// A group whose field or child failed drops its children and fails.
ParseStep VrmlReader::failGroup(VrmlParseFrame& frame) {
    clearNode(frame.node);
    setErrorWithLine(frame.group->syntaxMessage);
    frame.group = nullptr;
    frame.parserFailed = true;
    return resumeNode(frame);
}

ParseStep VrmlReader::finishNode(VrmlParseFrame& frame, int code) {
    if (frame.parserFailed) {
        setErrorWithLine("invalid node syntax");
        return finishWith(frame, nullptr);
    }
    if (code < 0) return finishWith(frame, nullptr);
    if (!frame.useHandled) {
        if (frame.nested && code != '}') {
            setErrorWithLine("'}' expected");
            return finishWith(frame, nullptr);
        }
        std::memcpy(frame.node.name, frame.pendingName, sizeof frame.node.name);
    }
    // After "DEF A USE B" the record carries B's name and is entered under B.
    return finishWith(frame, storeCompletedNode(frame.node, frame.defSeen));
}

ParseStep VrmlReader::finishWith(VrmlParseFrame& frame, VrmlNode* result) {
    frame.result = result;
    return ParseStep::Finished;
}

VrmlDefEntry* VrmlReader::findDef(const char* name) const {
    const auto found = defIndex_.find(std::string_view(name));
    return found == defIndex_.end() ? nullptr : found->second;
}

VrmlNode* VrmlReader::storeCompletedNode(VrmlNode& node, bool defSeen) {
    records_.push_back(std::make_unique<VrmlNode>(std::move(node)));
    VrmlNode* record = records_.back().get();
    clearNode(node);
    if (defSeen) {
        VrmlDefEntry& entry = defEntries_.emplace_back();
        std::memcpy(entry.name, record->name, sizeof entry.name);
        entry.node = record;
        defIndex_[std::string_view(entry.name)] = &entry;
    }
    return record;
}

VrmlNode* VrmlReader::parseNode(int depth) {
    std::vector<VrmlParseFrame> frames(1);
    ParseStep step = startNode(frames.back(), depth != 0);
    for (;;) {
        switch (step) {
        case ParseStep::Group: step = runGroupBody(frames.back()); break;
        case ParseStep::Child:
            frames.emplace_back();
            step = startNode(frames.back(), true);
            break;
        case ParseStep::Finished: {
            VrmlNode* const child = frames.back().result;
            if (frames.size() == 1) return child;
            frames.pop_back();
            VrmlParseFrame& parent = frames.back();
            if (!child) {
                step = failGroup(parent);
            } else {
                parent.node.children.push_back(child);
                step = runGroupBody(parent);
            }
            break;
        }
        }
    }
}

ParseStep VrmlReader::startNode(VrmlParseFrame& frame, bool nested) {
    frame.nested = nested;
    const int code = nextToken();
    if (code < 0) return finishWith(frame, nullptr);
    return runNode(frame, code);
}

void VrmlReader::releaseScene() {
    decltype(defIndex_)().swap(defIndex_);
    std::deque<VrmlDefEntry>().swap(defEntries_);
    std::vector<std::unique_ptr<VrmlNode>>().swap(records_);
}

}  // namespace KelpVrml
