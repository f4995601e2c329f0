// The walk's direct reads of the library's own dictionaries and strings.
//
// A handle that passed as a CPOSDict or a CPOSString holds an object of this
// library: the interfaces' class tests answer yes to nothing else. The walk
// then reads it in place: a dictionary node by node, with no iterator
// container and no lookup for each member, a key with the atom its node
// already holds, and a type name with the atom of its String, so that no
// name is interned again. Each read gives what the interface would.
#ifndef MOXUTILS_VALIDATOR_OWN_OBJECTS_H_
#define MOXUTILS_VALIDATOR_OWN_OBJECTS_H_

#include "binding/errors.h"
#include "pos/base_object.h"
#include "pos/dict.h"
#include "pos/number_string.h"
#include "pos/pos_client.h"

namespace NPOSValidatorImpl {

// The tree of the Dict behind `dict`, which must not be empty.
inline NPOSObjectImpl::DictTree& OwnTree(const MOX_T_MT::CPOSDict& dict) {
  using NPOSObjectImpl::Dict;
  Dict* object = NPOSObjectImpl::TryFromContainer<Dict>(dict.Container());
  if (object == nullptr) throw MOX_T_MT::POSException(Dict::kNotThisClass);
  return *object->Tree();
}

// The atom of the String behind `text`, which must not be empty.
inline const CMOXStringHolder& OwnAtom(const MOX_T_MT::CPOSString& text) {
  using NPOSObjectImpl::String;
  String* object = NPOSObjectImpl::TryFromContainer<String>(text.Container());
  if (object == nullptr) throw MOX_T_MT::POSException(String::kNotThisClass);
  return object->Atom();
}

// What a quiet Get of `key` gives on the Dict behind `dict`, which must not
// be empty: a counted copy of the value, or an empty object.
inline MOX_T_MT::CPOSObject OwnGet(const MOX_T_MT::CPOSDict& dict, const CMOXStringHolder& key) {
  NPOSObjectImpl::DictNode* node = OwnTree(dict).Find(key.CString());
  return node == nullptr ? MOX_T_MT::CPOSObject() : node->fValue;
}

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_OWN_OBJECTS_H_
