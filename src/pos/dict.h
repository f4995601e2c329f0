// Dict: string keys mapped to POS objects, in a tree of the library's own
// (DictTree). Keys are atoms held by the nodes but compared by strcmp, and
// iteration runs in ascending byte order.
//
// A Dict has no lock. Lookups only read, but Put of a new key and every
// Remove (also of an absent key) restructure the tree, so no reader may run
// beside them.
#ifndef MOXUTILS_POS_DICT_H_
#define MOXUTILS_POS_DICT_H_

#include "binding/string_holder.h"
#include "pos/base_object.h"
#include "pos/dict_tree.h"

namespace NPOSObjectImpl {

class Dict final : public BaseObject {
 public:
  static constexpr const char* kNotThisClass = "instance was not an POSDict";
  static constexpr ObjectClass kClass = ObjectClass::kDict;

  Dict();
  // Shares the values: every key is inserted again with its value.
  Dict(const Dict& other);
  Dict& operator=(const Dict& other);
  ~Dict() override;

  // Values cloned, keys shared, in ascending key order.
  BaseObject* Clone() override;
  // One-sided: true when every key of this Dict is in the other with an equal
  // value. Keys that only the other has are not looked at, so a symmetric
  // test takes two calls.
  bool IsEqual(const CPOSObject& other) override;
  ObjectClass Class() const override { return kClass; }

  // A copy of the value under `key`. An absent key gives an empty object
  // when `quiet`, and otherwise raises "Dict::Get lookup failed".
  CPOSObject LookupValue(const char* key, bool quiet) const;
  // Stores `value` under `key`. An existing key keeps its node and place and
  // only changes its value; a new key gets a node before the tree is touched.
  void InsertValue(const CMOXStringHolder& key, const CPOSObject& value);
  // The same with the caller's references, which a failure leaves with the
  // caller.
  void InsertValue(CMOXStringHolder&& key, CPOSObject&& value);
  void InsertValue(const CMOXStringHolder& key, CPOSObject&& value) {
    InsertValue(CMOXStringHolder(key), static_cast<CPOSObject&&>(value));
  }
  // Removes `key`; an absent key changes nothing but the shape of the tree.
  void EraseKey(const char* key);

  DictTree* Tree() const { return &fTree; }

 private:
  // In the object itself: one allocation less for each dictionary, and one
  // pointer less between the object and its first node on every walk.
  mutable DictTree fTree;
};

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_DICT_H_
