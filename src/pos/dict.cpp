#include "pos/dict.h"

#include <utility>

#include "pos/deferred_release.h"

namespace NPOSObjectImpl {

Dict::Dict() {}

Dict::Dict(const Dict& other) : BaseObject(other) {
  // A throw deletes the nodes inserted so far with the tree.
  for (DictNode* node = other.fTree.First(); node != nullptr; node = DictTree::Next(node)) {
    InsertValue(node->fKey, node->fValue);
  }
}

Dict& Dict::operator=(const Dict& other) {
  if (this != &other) {
    Dict copy(other);
    fTree.Swap(copy.fTree);
  }
  return *this;
}

Dict::~Dict() {
  // The values may be trees of any depth (deferred_release.h).
  ReleaseDictTree(&fTree);
}

CPOSObject Dict::LookupValue(const char* key, bool quiet) const {
  DictNode* node = fTree.Find(key);
  if (node != nullptr) return node->fValue;
  if (!quiet) throw POSException("Dict::Get lookup failed");
  return CPOSObject();
}

void Dict::InsertValue(const CMOXStringHolder& key, const CPOSObject& value) {
  DictNode* node = fTree.Find(key.CString());
  if (node != nullptr) {
    node->fValue = value;
    return;
  }
  fTree.Insert(DictNode::New(key, value));
}

void Dict::InsertValue(CMOXStringHolder&& key, CPOSObject&& value) {
  DictNode* node = fTree.Find(key.CString());
  if (node != nullptr) {
    node->fValue = static_cast<CPOSObject&&>(value);
    return;
  }
  fTree.Insert(
      DictNode::New(static_cast<CMOXStringHolder&&>(key), static_cast<CPOSObject&&>(value)));
}

void Dict::EraseKey(const char* key) {
  DictNode* node = fTree.Unlink(key);
  if (node != nullptr) DictNode::Delete(node);
}

}  // namespace NPOSObjectImpl
