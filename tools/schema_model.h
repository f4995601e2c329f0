// A schema as the validator's walk reads it, in plain C++ for posctl's own
// reasoning about it: which paths a fault line can take, what a type allows
// at an address, what a definition says that it can't mean.
//
// It is read through the library's interfaces with the walk's rules: a key
// whose value is of the wrong class counts as absent, and only a dictionary
// under a name is a definition.
#ifndef POSCTL_SCHEMA_MODEL_H_
#define POSCTL_SCHEMA_MODEL_H_

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "library_session.h"

namespace posctl {

struct TypeDefinition {
  // A member of "required" or "optional", with its type where that is a
  // name; the walk checks a member against nothing else.
  struct Member {
    std::string key;
    std::optional<std::string> type;
  };

  std::optional<std::string> category;  // when it is a string
  // Limits that are numbers: "min", "max", "minexcl", "maxexcl", "minlen",
  // "maxlen".
  std::map<std::string, double, std::less<>> numbers;
  std::optional<std::string> illegalChars;
  std::optional<std::vector<std::string>> oneOf;
  // "membertype": a name (one type for every member) or a list (a type per
  // member). An element of a list that is no string reads as "".
  std::optional<std::string> memberType;
  std::optional<std::vector<std::string>> memberTypes;
  std::optional<std::string> keyType;
  std::optional<std::string> valueType;
  std::optional<std::vector<Member>> required;  // in key order
  std::optional<std::vector<Member>> optional;
  std::optional<std::vector<std::string>> set;  // of a union or an intersection

  bool Is(std::string_view word) const { return category && *category == word; }
  std::optional<double> Number(std::string_view key) const;
  const Member* FindRequired(std::string_view key) const;
  const Member* FindOptional(std::string_view key) const;
};

class SchemaModel {
 public:
  // `schema` must be a dictionary.
  static SchemaModel Read(const Procs& procs, MOXContainer schema);

  // The eleven names that the walk resolves before it looks at a schema.
  static const std::vector<std::string>& BuiltinNames();
  static bool IsBuiltin(std::string_view name);

  // The definition under `name`; null when the schema has no dictionary
  // there.
  const TypeDefinition* Find(std::string_view name) const;
  bool HasKey(std::string_view name) const { return keys_.count(name) != 0; }
  // Every key, in the library's order.
  const std::vector<std::string>& keys() const { return order_; }

 private:
  std::map<std::string, TypeDefinition, std::less<>> types_;
  std::set<std::string, std::less<>> keys_;
  std::vector<std::string> order_;
};

// The keys of a dictionary in the library's order.
std::vector<std::string> DictKeys(const Procs& procs, MOXContainer dict);
// The value under `key`, or null.
MOXContainer DictGet(const Procs& procs, MOXContainer dict, const std::string& key);

}  // namespace posctl

#endif  // POSCTL_SCHEMA_MODEL_H_
