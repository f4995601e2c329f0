#include "pos/dict_tree.h"

#include <cstring>
#include <new>

#include "binding/host_tables.h"

namespace NPOSObjectImpl {

namespace {

bool IsRed(const DictNode* node) {
  return node != nullptr && node->fColour == kRed;
}

DictNode* Leftmost(DictNode* node) {
  while (node->fLeft != nullptr) node = node->fLeft;
  return node;
}

// strcmp of `key` (with its DictKeyPrefix) and the key of `node`, by sign.
// Equal prefixes decide alone when they hold a key's end; otherwise the two
// keys agree on eight bytes, and strcmp goes on from there. The same atom's
// text is the same pointer, and so equal without a look at it.
int CompareKey(const char* key, uint64_t prefix, const DictNode* node) {
  if (prefix != node->fKeyPrefix) return prefix < node->fKeyPrefix ? -1 : 1;
  if ((prefix & 0xFF) == 0 || key == node->Key()) return 0;
  return std::strcmp(key + 8, node->Key() + 8);
}

}  // namespace

uint64_t DictKeyPrefix(const char* key) {
  uint64_t prefix = 0;
  for (int i = 0; i < 8 && key[i] != 0; ++i) {
    prefix |= static_cast<uint64_t>(static_cast<unsigned char>(key[i])) << (56 - 8 * i);
  }
  return prefix;
}

// ---- Nodes -----------------------------------------------------------------------

DictNode* DictNode::New(const CMOXStringHolder& key, const MOX_T_MT::CPOSObject& value) {
  // The copies are taken before the node is allocated, so a failure on the
  // way releases them and leaves nothing behind.
  CMOXStringHolder keyCopy(key);
  MOX_T_MT::CPOSObject valueCopy(value);
  return New(static_cast<CMOXStringHolder&&>(keyCopy),
             static_cast<MOX_T_MT::CPOSObject&&>(valueCopy));
}

DictNode* DictNode::New(CMOXStringHolder&& key, MOX_T_MT::CPOSObject&& value) {
  DictNode* node = static_cast<DictNode*>(MOXMemory::AllocOrThrow(sizeof(DictNode)));
  node->fLeft = node->fRight = node->fParent = nullptr;
  node->fColour = kRed;
  node->fKeyPrefix = DictKeyPrefix(key.CString());
  new (&node->fKey) CMOXStringHolder(static_cast<CMOXStringHolder&&>(key));
  new (&node->fValue) MOX_T_MT::CPOSObject(static_cast<MOX_T_MT::CPOSObject&&>(value));
  return node;
}

void DictNode::Delete(DictNode* node) noexcept {
  node->fValue.~CPOSObject();
  node->fKey.~CMOXStringHolder();
  MOXMemory::Free(node);
}

// ---- Tree ------------------------------------------------------------------------

DictTree::~DictTree() {
  DeleteNodes(fRoot);
  fRoot = nullptr;
}

void DictTree::DeleteNodes(DictNode* root) noexcept {
  // Post-order without recursion: a tree thinned by removals may be deep.
  DictNode* node = root;
  while (node != nullptr) {
    if (node->fLeft != nullptr) {
      node = node->fLeft;
    } else if (node->fRight != nullptr) {
      node = node->fRight;
    } else {
      DictNode* parent = node->fParent;
      if (parent != nullptr) (parent->fLeft == node ? parent->fLeft : parent->fRight) = nullptr;
      DictNode::Delete(node);
      node = parent;
    }
  }
}

DictNode* DictTree::Find(const char* key) const {
  const uint64_t prefix = DictKeyPrefix(key);
  DictNode* node = fRoot;
  while (node != nullptr) {
    const int order = CompareKey(key, prefix, node);
    if (order == 0) return node;
    node = order < 0 ? node->fLeft : node->fRight;
  }
  return nullptr;
}

// Puts `replacement` (possibly null) where `node` hangs from its parent.
void DictTree::Replace(DictNode* node, DictNode* replacement) {
  DictNode* parent = node->fParent;
  if (parent == nullptr) {
    fRoot = replacement;
  } else if (parent->fLeft == node) {
    parent->fLeft = replacement;
  } else {
    parent->fRight = replacement;
  }
  if (replacement != nullptr) replacement->fParent = parent;
}

// Turns the edge between `node` and its parent: `node` takes the parent's
// place and the parent becomes its child on the other side.
void DictTree::RotateUp(DictNode* node) {
  DictNode* parent = node->fParent;
  Replace(parent, node);
  if (parent->fLeft == node) {
    parent->fLeft = node->fRight;
    if (node->fRight != nullptr) node->fRight->fParent = parent;
    node->fRight = parent;
  } else {
    parent->fRight = node->fLeft;
    if (node->fLeft != nullptr) node->fLeft->fParent = parent;
    node->fLeft = parent;
  }
  parent->fParent = node;
}

// `node` is red under a red father that has a father itself. One rotation
// for an outer grandchild, two for an inner one; the new top of the subtree
// is black with two red children. Returns that top.
DictNode* DictTree::Rebalance(DictNode* node) {
  DictNode* father = node->fParent;
  DictNode* grandfather = father->fParent;
  grandfather->fColour = kRed;
  DictNode* top = father;
  if ((father->fLeft == node) != (grandfather->fLeft == father)) {
    RotateUp(node);
    top = node;
  }
  RotateUp(top);
  top->fColour = kBlack;
  return top;
}

// A node with two red children becomes red and they black; if that makes two
// reds meet, the subtree is rotated and the walk goes on from its new top.
void DictTree::SplitOnTheWay(DictNode*& node) {
  if (!IsRed(node->fLeft) || !IsRed(node->fRight)) return;
  node->fColour = kRed;
  node->fLeft->fColour = kBlack;
  node->fRight->fColour = kBlack;
  DictNode* father = node->fParent;
  if (father != nullptr && father->fColour == kRed && father->fParent != nullptr) {
    node = Rebalance(node);
  }
}

void DictTree::Insert(DictNode* node) {
  node->fLeft = node->fRight = node->fParent = nullptr;
  node->fColour = kRed;
  if (fRoot == nullptr) {
    fRoot = node;
  } else {
    DictNode* current = fRoot;
    for (;;) {
      SplitOnTheWay(current);
      DictNode*& link =
          CompareKey(node->Key(), node->fKeyPrefix, current) < 0 ? current->fLeft : current->fRight;
      if (link == nullptr) {
        link = node;
        node->fParent = current;
        if (current->fColour == kRed && current->fParent != nullptr) Rebalance(node);
        break;
      }
      current = link;
    }
  }
  fRoot->fColour = kBlack;
}

DictNode* DictTree::Unlink(const char* key) {
  const uint64_t prefix = DictKeyPrefix(key);
  DictNode* node = fRoot;
  while (node != nullptr) {
    SplitOnTheWay(node);
    const int order = CompareKey(key, prefix, node);
    if (order == 0) break;
    node = order < 0 ? node->fLeft : node->fRight;
  }
  if (node == nullptr) return nullptr;

  DictNode* replacement;
  if (node->fLeft == nullptr) {
    replacement = node->fRight;
  } else if (node->fRight == nullptr) {
    replacement = node->fLeft;
  } else {
    // The successor leaves its own place first (it has no left child), then
    // takes the node's place with both its subtrees.
    DictNode* successor = Leftmost(node->fRight);
    if (successor->fRight != nullptr) successor->fRight->fColour = successor->fColour;
    Replace(successor, successor->fRight);
    successor->fLeft = node->fLeft;
    successor->fRight = node->fRight;
    successor->fLeft->fParent = successor;
    if (successor->fRight != nullptr) successor->fRight->fParent = successor;
    replacement = successor;
  }
  if (replacement != nullptr) replacement->fColour = node->fColour;
  Replace(node, replacement);
  node->fLeft = node->fRight = node->fParent = nullptr;
  return node;
}

int DictTree::Order(const DictNode& first, const DictNode& second) {
  return CompareKey(first.Key(), first.fKeyPrefix, &second);
}

DictNode* DictTree::First() const {
  return fRoot == nullptr ? nullptr : Leftmost(fRoot);
}

DictNode* DictTree::Next(DictNode* node) {
  if (node == nullptr) return nullptr;
  if (node->fRight != nullptr) return Leftmost(node->fRight);
  // Climb while coming up from a right child: the first parent reached from
  // its left side holds the next key. The links tell the side as surely as
  // the keys, and keys with a long common start (the many "profile_..." or
  // "in_reply_to_..." of one record) would cost a strcmp at every step.
  DictNode* child = node;
  DictNode* candidate = node->fParent;
  while (candidate != nullptr && candidate->fRight == child) {
    child = candidate;
    candidate = candidate->fParent;
  }
  return candidate;
}

}  // namespace NPOSObjectImpl
