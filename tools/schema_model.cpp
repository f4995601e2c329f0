#include "schema_model.h"

#include <algorithm>

namespace posctl {
namespace {

std::optional<std::string> StringAt(const Procs& procs, MOXContainer dict, const char* key) {
  MOXContainer value = DictGet(procs, dict, key);
  if (value == nullptr || !procs.posString.IsPOSString(value)) return std::nullopt;
  return std::string(procs.posString.Get(value));
}

// A list of names; an element that is no string (which ends a walk that
// reaches it) reads as "".
std::optional<std::vector<std::string>> NamesAt(const Procs& procs, MOXContainer dict,
                                                const char* key) {
  MOXContainer list = DictGet(procs, dict, key);
  if (list == nullptr || !procs.posArray.IsPOSArray(list)) return std::nullopt;
  std::vector<std::string> names;
  const uint32_t count = procs.posArray.Count(list);
  for (uint32_t i = 0; i < count; ++i) {
    MOXContainer name = procs.posArray.GetAt(list, i);
    names.push_back(name != nullptr && procs.posString.IsPOSString(name) ? procs.posString.Get(name)
                                                                         : "");
  }
  return names;
}

std::optional<std::vector<TypeDefinition::Member>> MembersAt(const Procs& procs, MOXContainer dict,
                                                             const char* key) {
  MOXContainer members = DictGet(procs, dict, key);
  if (members == nullptr || !procs.posDict.IsPOSDict(members)) return std::nullopt;
  std::vector<TypeDefinition::Member> list;
  for (std::string& name : DictKeys(procs, members)) {
    MOXContainer type = DictGet(procs, members, name);
    std::optional<std::string> typeName;
    if (type != nullptr && procs.posString.IsPOSString(type)) typeName = procs.posString.Get(type);
    list.push_back({std::move(name), std::move(typeName)});
  }
  return list;
}

TypeDefinition ReadDefinition(const Procs& procs, MOXContainer dict) {
  TypeDefinition definition;
  definition.category = StringAt(procs, dict, "category");
  for (const char* key : {"min", "max", "minexcl", "maxexcl", "minlen", "maxlen"}) {
    MOXContainer value = DictGet(procs, dict, key);
    if (value != nullptr && procs.posNumber.IsPOSNumber(value)) {
      definition.numbers[key] = procs.posNumber.Get(value);
    }
  }
  definition.illegalChars = StringAt(procs, dict, "illegalchars");
  definition.oneOf = NamesAt(procs, dict, "oneof");
  definition.memberType = StringAt(procs, dict, "membertype");
  definition.memberTypes = NamesAt(procs, dict, "membertype");
  definition.keyType = StringAt(procs, dict, "keytype");
  definition.valueType = StringAt(procs, dict, "valuetype");
  definition.required = MembersAt(procs, dict, "required");
  definition.optional = MembersAt(procs, dict, "optional");
  definition.set = NamesAt(procs, dict, "set");
  return definition;
}

const TypeDefinition::Member* FindMember(
    const std::optional<std::vector<TypeDefinition::Member>>& members, std::string_view key) {
  if (!members) return nullptr;
  for (const TypeDefinition::Member& member : *members) {
    if (member.key == key) return &member;
  }
  return nullptr;
}

}  // namespace

std::optional<double> TypeDefinition::Number(std::string_view key) const {
  auto it = numbers.find(key);
  if (it == numbers.end()) return std::nullopt;
  return it->second;
}

const TypeDefinition::Member* TypeDefinition::FindRequired(std::string_view key) const {
  return FindMember(required, key);
}

const TypeDefinition::Member* TypeDefinition::FindOptional(std::string_view key) const {
  return FindMember(optional, key);
}

std::vector<std::string> DictKeys(const Procs& procs, MOXContainer dict) {
  std::vector<std::string> keys;
  Ref iterator(procs, procs.posDictIterator.NewPOSDictIterator(dict));
  if (!iterator) return keys;
  for (procs.posDictIterator.Begin(iterator.get()); !procs.posDictIterator.IsDone(iterator.get());
       procs.posDictIterator.Next(iterator.get())) {
    keys.push_back(procs.posDictIterator.CurKey(iterator.get()));
  }
  return keys;
}

MOXContainer DictGet(const Procs& procs, MOXContainer dict, const std::string& key) {
  Atom atom(procs, key.c_str());
  return procs.posDict.Get(dict, atom.get());
}

SchemaModel SchemaModel::Read(const Procs& procs, MOXContainer schema) {
  SchemaModel model;
  model.order_ = DictKeys(procs, schema);
  for (const std::string& name : model.order_) {
    model.keys_.insert(name);
    MOXContainer entry = DictGet(procs, schema, name);
    if (entry != nullptr && procs.posDict.IsPOSDict(entry)) {
      model.types_.emplace(name, ReadDefinition(procs, entry));
    }
  }
  return model;
}

const std::vector<std::string>& SchemaModel::BuiltinNames() {
  static const std::vector<std::string> kNames = {
      "any",     "bool",   "int",       "real",         "string",        "unicodestring",
      "bindata", "rawptr", "moxobjref", "ctbaseobjref", "moxerrorobjref"};
  return kNames;
}

bool SchemaModel::IsBuiltin(std::string_view name) {
  const std::vector<std::string>& names = BuiltinNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

const TypeDefinition* SchemaModel::Find(std::string_view name) const {
  auto it = types_.find(name);
  return it == types_.end() ? nullptr : &it->second;
}

}  // namespace posctl
