// DictTree: the search tree of a dictionary, a red-black tree written
// top-down. Keys order by strcmp, that is by unsigned bytes, with no locale.
//
// Insertion splits every node with two red children on its way down and
// rotates where that makes two reds meet, so no walk back up is needed.
// Removal walks down the same way, splitting as it goes (even when the key
// turns out to be absent), and then unlinks the node; the node that takes its
// place inherits its colour and nothing else is rebalanced. Balance after
// removals is therefore only as good as later walks make it, while the order
// of the keys is always exact.
#ifndef MOXUTILS_POS_DICT_TREE_H_
#define MOXUTILS_POS_DICT_TREE_H_

#include <cstdint>

#include "binding/string_holder.h"
#include "pos/pos_object.h"

namespace NPOSObjectImpl {

enum DictColour : uint32_t { kRed = 0, kBlack = 1 };

// The first eight bytes of a key as one big-endian number, zeros after its
// end: numbers in this form order as strcmp orders their keys, so most
// comparisons of a search need neither strcmp nor the key's text.
uint64_t DictKeyPrefix(const char* key);

// A node lives in the runtime's memory and owns one reference to its key
// atom and one to its value.
struct DictNode {
  DictNode* fLeft;
  DictNode* fRight;
  DictNode* fParent;
  uint32_t fColour;
  uint64_t fKeyPrefix;  // DictKeyPrefix of the key
  CMOXStringHolder fKey;
  MOX_T_MT::CPOSObject fValue;

  const char* Key() const { return fKey.CString(); }

  // A red node with no links, holding references of its own to `key` and
  // `value`. std::bad_alloc leaves nothing behind.
  static DictNode* New(const CMOXStringHolder& key, const MOX_T_MT::CPOSObject& value);
  // The same with the caller's references, taken over once the node exists;
  // on std::bad_alloc they stay with the caller.
  static DictNode* New(CMOXStringHolder&& key, MOX_T_MT::CPOSObject&& value);
  // Releases the value, then the key, and frees the node.
  static void Delete(DictNode* node) noexcept;
};

// The tree itself comes from the process allocator; its nodes from the
// runtime's memory.
class DictTree {
 public:
  DictTree() : fRoot(nullptr), fEnd(nullptr) {}
  ~DictTree();  // deletes every node
  DictTree(const DictTree&) = delete;
  DictTree& operator=(const DictTree&) = delete;

  // The node of `key`, or null.
  DictNode* Find(const char* key) const;
  // Links `node`, whose key must not be in the tree yet.
  void Insert(DictNode* node);
  // Unlinks the node of `key` and returns it, or null when the key is absent.
  // The walk restructures the tree either way.
  DictNode* Unlink(const char* key);

  // In-order walk: the first node, and the node after `node` (null past the
  // end). Next climbs by the child links.
  DictNode* First() const;
  static DictNode* Next(DictNode* node);
  // The order of two nodes' keys, as strcmp gives it, from any two trees.
  static int Order(const DictNode& first, const DictNode& second);

  DictNode* Root() const { return fRoot; }
  // The whole tree, handed to the caller, who deletes it with DeleteNodes;
  // this tree is left empty.
  DictNode* TakeRoot() noexcept {
    DictNode* root = fRoot;
    fRoot = nullptr;
    return root;
  }
  // Exchanges the nodes of the two trees.
  void Swap(DictTree& other) noexcept {
    DictNode* root = fRoot;
    fRoot = other.fRoot;
    other.fRoot = root;
  }
  // Deletes every node under and including `root` (whose parent must be
  // null), in post-order, without recursion.
  static void DeleteNodes(DictNode* root) noexcept;
  // The position past the last key: always null.
  DictNode* End() const { return fEnd; }

 private:
  void SplitOnTheWay(DictNode*& node);
  DictNode* Rebalance(DictNode* node);
  void RotateUp(DictNode* node);
  void Replace(DictNode* node, DictNode* replacement);

  DictNode* fRoot;
  DictNode* const fEnd;
};

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_DICT_TREE_H_
