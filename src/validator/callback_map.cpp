#include "validator/callback_map.h"

#include <cstring>
#include <new>

#include "binding/host_tables.h"

namespace NPOSValidatorImpl {

namespace {

constexpr uint32_t kRed = 0;
constexpr uint32_t kBlack = 1;

bool IsRed(const CallbackNode* node) {
  return node != nullptr && node->colour == kRed;
}

// Releases the name and frees the node.
void DeleteNode(CallbackNode* node) noexcept {
  node->name.~CMOXStringHolder();
  MOXMemory::Free(node);
}

}  // namespace

CallbackMap::~CallbackMap() {
  // Post-order by the parent links: no recursion, whatever the shape.
  CallbackNode* node = root;
  while (node != nullptr) {
    if (node->left != nullptr) {
      node = node->left;
    } else if (node->right != nullptr) {
      node = node->right;
    } else {
      CallbackNode* parent = node->parent;
      if (parent != nullptr) (parent->left == node ? parent->left : parent->right) = nullptr;
      DeleteNode(node);
      node = parent;
    }
  }
  root = nullptr;
}

const CallbackNode* CallbackMap::Find(const char* name) const {
  const CallbackNode* node = root;
  while (node != nullptr) {
    const int order = std::strcmp(name, node->name.CString());
    if (order == 0) return node;
    node = order < 0 ? node->left : node->right;
  }
  return nullptr;
}

void CallbackMap::Replace(CallbackNode* node, CallbackNode* replacement) {
  CallbackNode* parent = node->parent;
  if (parent == nullptr) {
    root = replacement;
  } else if (parent->left == node) {
    parent->left = replacement;
  } else {
    parent->right = replacement;
  }
  if (replacement != nullptr) replacement->parent = parent;
}

// `node` takes its parent's place; the parent becomes its child on the other
// side.
void CallbackMap::RotateUp(CallbackNode* node) {
  CallbackNode* parent = node->parent;
  Replace(parent, node);
  if (parent->left == node) {
    parent->left = node->right;
    if (node->right != nullptr) node->right->parent = parent;
    node->right = parent;
  } else {
    parent->right = node->left;
    if (node->left != nullptr) node->left->parent = parent;
    node->left = parent;
  }
  parent->parent = node;
}

// A red `node` under a red father that has a father: one rotation for an
// outer grandchild, two for an inner one. Returns the new, black top.
CallbackNode* CallbackMap::Rebalance(CallbackNode* node) {
  CallbackNode* father = node->parent;
  CallbackNode* grandfather = father->parent;
  grandfather->colour = kRed;
  CallbackNode* top = father;
  if ((father->left == node) != (grandfather->left == father)) {
    RotateUp(node);
    top = node;
  }
  RotateUp(top);
  top->colour = kBlack;
  return top;
}

void CallbackMap::SplitOnTheWay(CallbackNode*& node) {
  if (!IsRed(node->left) || !IsRed(node->right)) return;
  node->colour = kRed;
  node->left->colour = kBlack;
  node->right->colour = kBlack;
  CallbackNode* father = node->parent;
  if (father != nullptr && father->colour == kRed && father->parent != nullptr) {
    node = Rebalance(node);
  }
}

void CallbackMap::Insert(const CMOXStringHolder& name, POSStructValidatorCallbackProc proc,
                         void* clientData) {
  // The name's copy is taken and the node allocated before the tree is
  // touched, so that a failure leaves it as it was.
  CMOXStringHolder nameCopy(name);
  CallbackNode* fresh = static_cast<CallbackNode*>(MOXMemory::AllocOrThrow(sizeof(CallbackNode)));
  fresh->left = fresh->right = fresh->parent = nullptr;
  fresh->colour = kRed;
  new (&fresh->name) CMOXStringHolder(static_cast<CMOXStringHolder&&>(nameCopy));
  fresh->proc = proc;
  fresh->clientData = clientData;

  if (root == nullptr) {
    root = fresh;
    root->colour = kBlack;
    return;
  }
  CallbackNode* current = root;
  for (;;) {
    // No search beforehand: the walk splits nodes on its way down even when
    // the name turns out to be there already.
    SplitOnTheWay(current);
    CallbackNode** link;
    if (std::strcmp(fresh->name.CString(), current->name.CString()) < 0) {
      link = &current->left;
    } else if (std::strcmp(current->name.CString(), fresh->name.CString()) < 0) {
      link = &current->right;
    } else {
      // The same name: the new node takes the old one's place and colour,
      // and the root keeps the colour it has.
      fresh->colour = current->colour;
      fresh->left = current->left;
      fresh->right = current->right;
      if (fresh->left != nullptr) fresh->left->parent = fresh;
      if (fresh->right != nullptr) fresh->right->parent = fresh;
      Replace(current, fresh);
      DeleteNode(current);
      return;
    }
    if (*link == nullptr) {
      *link = fresh;
      fresh->parent = current;
      if (current->colour == kRed && current->parent != nullptr) Rebalance(fresh);
      break;
    }
    current = *link;
  }
  root->colour = kBlack;
}

}  // namespace NPOSValidatorImpl
