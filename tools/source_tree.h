// Where each value of an input stands in its text. The library keeps no
// positions in the objects it builds, so posctl's scanners, which walk every
// byte of an input anyway, record them in a tree of the same shape as the
// object: a node per value, and for a member of a dictionary the place of
// its key too. A fault that the validator reports by path is then found in
// the source by walking this tree along the path.
#ifndef POSCTL_SOURCE_TREE_H_
#define POSCTL_SOURCE_TREE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace posctl {

// A byte of the input, with its line and column as messages give them: both
// from 1, the column in characters (a UTF-8 sequence counts once).
struct Location {
  uint64_t offset = 0;
  uint64_t line = 1;
  uint64_t column = 1;
};

// Follows line and column over bytes taken in order.
class LineCounter {
 public:
  // The place of the next byte.
  const Location& here() const { return here_; }
  void Take(unsigned char byte) {
    ++here_.offset;
    if (byte == '\n') {
      ++here_.line;
      here_.column = 1;
    } else if ((byte & 0xC0) != 0x80) {
      ++here_.column;
    }
  }
  // Takes the bytes of `text` up to `offset`, which must not lie behind the
  // place already reached.
  const Location& AdvanceTo(std::string_view text, uint64_t offset) {
    while (here_.offset < offset) Take(static_cast<unsigned char>(text[here_.offset]));
    return here_;
  }

 private:
  Location here_;
};

struct SourceNode {
  enum class Kind { kScalar, kArray, kDict };
  Kind kind = Kind::kScalar;
  Location at;      // the value's first byte: a container's opening bracket
  Location keyAt;   // a member of a dictionary: the first byte of its key
  std::string key;  // a member of a dictionary: its key as the library holds it
  std::vector<SourceNode> members;

  // Member `index` of an array; null when there is none.
  const SourceNode* Element(size_t index) const;
  // The member of a dictionary under `key`; of a key given twice, the last,
  // whose value the library keeps. Null when there is none.
  const SourceNode* Member(std::string_view key) const;

 private:
  friend class SourceTreeBuilder;
  std::vector<uint32_t> byKey_;  // members' indices, ordered by key
};

// Builds a tree from the events of a scanner, in the order of the text.
class SourceTreeBuilder {
 public:
  SourceTreeBuilder() = default;
  SourceTreeBuilder(const SourceTreeBuilder&) = delete;
  SourceTreeBuilder& operator=(const SourceTreeBuilder&) = delete;

  // A key of the innermost dictionary; the next value is its member's.
  void Key(std::string text, const Location& at);
  void Scalar(const Location& at);
  void Open(SourceNode::Kind kind, const Location& at);
  void Close();
  // True when the innermost open container is a dictionary whose next
  // object is a key.
  bool ExpectsKey() const;
  // The tree of the one top-level value.
  SourceNode Take() { return std::move(root_); }

 private:
  SourceNode* Add(SourceNode::Kind kind, const Location& at);

  SourceNode root_;
  bool rootSet_ = false;
  // The open containers, innermost last. A container's member list grows
  // only while it is innermost, so the pointers stay valid.
  std::vector<SourceNode*> open_;
  bool keyPending_ = false;
  std::string pendingKey_;
  Location pendingKeyAt_;
};

}  // namespace posctl

#endif  // POSCTL_SOURCE_TREE_H_
