#include "fault_locator.h"

#include <optional>

namespace posctl {
namespace {

constexpr std::string_view kNotUnion = "Not a valid union type: ";
constexpr std::string_view kUnknown = "Unknown member ";

bool StartsWith(std::string_view text, std::string_view head) {
  return text.substr(0, head.size()) == head;
}

// A value reached in the source: a node of the tree, or a key, which has a
// place and nothing below it.
struct Value {
  Location at;
  const SourceNode* node;  // null for a key
};

class Locator {
 public:
  explicit Locator(const SchemaModel& schema) : schema_(schema) {}

  // Follows `rest` from `value` judged as `type`; `steps` are those that led
  // there. The first reading that reaches its end in the source wins; else
  // the first reading tried.
  FaultPlace Follow(std::string_view rest, const Value& value, const std::string& type,
                    const std::vector<FaultStep>& steps) const {
    std::optional<FaultPlace> partial;
    auto consider = [&](FaultPlace place) {
      if (place.exact) return true;
      if (!partial) partial = std::move(place);
      return false;
    };
    const TypeDefinition* definition = SchemaModel::IsBuiltin(type) ? nullptr : schema_.Find(type);
    if (definition != nullptr && definition->category) {
      std::optional<FaultPlace> found;
      if (definition->Is("array")) found = Element(rest, value, *definition, steps, consider);
      if (definition->Is("dict")) found = Member(rest, value, *definition, steps, consider);
      if (definition->Is("union") || definition->Is("intersection")) {
        found = SetMember(rest, value, *definition, steps, consider);
      }
      if (found) return *found;
    }
    // A prefix that matched but led nowhere in the source says more than
    // taking the whole rest for a message; only a message whose key was
    // found in the source says more still.
    bool verified = false;
    FaultPlace final = Final(rest, value, definition, type, steps, &verified);
    if (!partial || verified) return final;
    return *partial;
  }

 private:
  template <typename Consider>
  std::optional<FaultPlace> Element(std::string_view rest, const Value& value,
                                    const TypeDefinition& definition,
                                    const std::vector<FaultStep>& steps, Consider& consider) const {
    if (!StartsWith(rest, "[")) return std::nullopt;
    size_t end = 1;
    size_t index = 0;
    while (end < rest.size() && rest[end] >= '0' && rest[end] <= '9' && end < 12) {
      index = index * 10 + static_cast<size_t>(rest[end] - '0');
      ++end;
    }
    if (end == 1 || !StartsWith(rest.substr(end), "]: ")) return std::nullopt;
    std::string type;
    if (definition.memberType) {
      type = *definition.memberType;
    } else if (definition.memberTypes && index < definition.memberTypes->size()) {
      type = (*definition.memberTypes)[index];
    } else {
      return std::nullopt;
    }
    const SourceNode* element = value.node != nullptr ? value.node->Element(index) : nullptr;
    std::vector<FaultStep> next = steps;
    next.push_back({FaultStep::Kind::kElement, "", "", index, type});
    FaultPlace place = element != nullptr
                           ? Follow(rest.substr(end + 3), Value{element->at, element}, type, next)
                           : Unfollowed(rest, value, steps);
    if (consider(place)) return place;
    return std::nullopt;
  }

  // "K (how, type != T): " for each reading of K that the definition and
  // the source allow.
  template <typename Consider>
  std::optional<FaultPlace> Member(std::string_view rest, const Value& value,
                                   const TypeDefinition& definition,
                                   const std::vector<FaultStep>& steps, Consider& consider) const {
    for (size_t split = rest.find(" ("); split != std::string_view::npos;
         split = rest.find(" (", split + 1)) {
      const std::string key(rest.substr(0, split));
      const std::string_view after = rest.substr(split);
      const TypeDefinition::Member* required = definition.FindRequired(key);
      const TypeDefinition::Member* optional = definition.FindOptional(key);
      const std::pair<const char*, const std::optional<std::string>*> forms[] = {
          {"key", &definition.keyType},
          {"value", &definition.valueType},
          {"required", required != nullptr ? &required->type : nullptr},
          {"optional", optional != nullptr ? &optional->type : nullptr},
      };
      for (const auto& [how, typeName] : forms) {
        if (typeName == nullptr || !*typeName) continue;
        const std::string prefix = std::string(" (") + how + ", type != " + **typeName + "): ";
        if (!StartsWith(after, prefix)) continue;
        const bool isKey = std::string_view(how) == "key";
        std::vector<FaultStep> next = steps;
        next.push_back({isKey ? FaultStep::Kind::kKey : FaultStep::Kind::kMember, key,
                        isKey ? "" : how, 0, **typeName});
        const SourceNode* member = value.node != nullptr ? value.node->Member(key) : nullptr;
        FaultPlace place;
        if (member == nullptr) {
          place = Unfollowed(rest, value, steps);
        } else {
          const Value reached = isKey ? Value{member->keyAt, nullptr} : Value{member->at, member};
          place = Follow(after.substr(prefix.size()), reached, **typeName, next);
        }
        if (consider(place)) return place;
      }
    }
    return std::nullopt;
  }

  // "Not a valid union type: Trying T: " or "Failed intersection type T: ".
  template <typename Consider>
  std::optional<FaultPlace> SetMember(std::string_view rest, const Value& value,
                                      const TypeDefinition& definition,
                                      const std::vector<FaultStep>& steps,
                                      Consider& consider) const {
    if (!definition.set) return std::nullopt;
    const bool isUnion = definition.Is("union");
    if (isUnion) {
      if (!StartsWith(rest, kNotUnion)) return std::nullopt;
      rest.remove_prefix(kNotUnion.size());
    }
    for (const std::string& member : *definition.set) {
      const std::string prefix =
          (isUnion ? "Trying " : "Failed intersection type ") + member + ": ";
      if (!StartsWith(rest, prefix)) continue;
      std::vector<FaultStep> next = steps;
      next.push_back({isUnion ? FaultStep::Kind::kUnionMember : FaultStep::Kind::kIntersection, "",
                      "", 0, member});
      FaultPlace place = Follow(rest.substr(prefix.size()), value, member, next);
      if (consider(place)) return place;
    }
    return std::nullopt;
  }

  FaultPlace Final(std::string_view message, const Value& value, const TypeDefinition* definition,
                   const std::string& type, const std::vector<FaultStep>& steps,
                   bool* verified) const {
    FaultPlace place;
    place.at = value.at;
    place.steps = steps;
    place.type = type;
    place.message = std::string(message);
    const bool isDict = definition != nullptr && definition->Is("dict") && value.node != nullptr &&
                        value.node->kind == SourceNode::Kind::kDict;
    if (isDict && StartsWith(message, kUnknown)) {
      const SourceNode* member = value.node->Member(message.substr(kUnknown.size()));
      if (member != nullptr) {
        place.at = member->keyAt;
        *verified = true;
      } else {
        place.exact = false;
        place.unfollowed = place.message;
      }
    }
    return place;
  }

  FaultPlace Unfollowed(std::string_view rest, const Value& value,
                        const std::vector<FaultStep>& steps) const {
    FaultPlace place;
    place.at = value.at;
    place.exact = false;
    place.unfollowed = std::string(rest);
    place.steps = steps;
    place.message = std::string(rest);
    return place;
  }

  const SchemaModel& schema_;
};

}  // namespace

FaultPlace LocateFault(std::string_view line, const SchemaModel& schema, const std::string& type,
                       const SourceNode& root) {
  return Locator(schema).Follow(line, Value{root.at, &root}, type, {});
}

}  // namespace posctl
