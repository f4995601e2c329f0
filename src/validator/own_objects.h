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

// The object behind `object` when its container names one of this library's
// objects at once, in its primary record; otherwise null, and the caller asks
// the interfaces, which answer for any container (and report what the
// runtime says of a bad one).
inline const NPOSObjectImpl::BaseObject* OwnObjectAtOnce(const MOX_T_MT::CPOSObject& object) {
  const MOXContainer container = object.Container();
  if (container == nullptr) return nullptr;
  const MOXPrimaryInstanceRecord* record = MOXPrimaryRecord(container);
  if (record->instanceName != gMOXUtilsNames->fObjectImpl.CString()) return nullptr;
  return static_cast<const NPOSObjectImpl::BaseObject*>(record->instance);
}

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_OWN_OBJECTS_H_
