#include "schema_explain.h"

#include <cmath>

#include "diagnostics.h"
#include "schema_warnings.h"

namespace posctl {
namespace {

// A type that refers to itself through unions alone would never reach the
// next step of the address; deeper than this is such a loop.
constexpr size_t kMaxUnionNesting = 64;

std::string Quoted(const std::string& text) {
  return "'" + Printable(text) + "'";
}

std::string NameList(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

// "from 1 to 9", "at least 1, below 9": the limits in force, as words.
std::string Limits(const TypeDefinition& definition, const char* low, const char* lowExcl,
                   const char* high, const char* highExcl) {
  std::vector<std::string> parts;
  const auto lo = definition.Number(low);
  const auto hi = definition.Number(high);
  if (lo && hi) {
    parts.push_back("from " + ShortNumber(*lo) + " to " + ShortNumber(*hi));
  } else if (lo) {
    parts.push_back("at least " + ShortNumber(*lo));
  } else if (hi) {
    parts.push_back("at most " + ShortNumber(*hi));
  }
  if (lowExcl != nullptr) {
    if (const auto v = definition.Number(lowExcl)) parts.push_back("above " + ShortNumber(*v));
  }
  if (highExcl != nullptr) {
    if (const auto v = definition.Number(highExcl)) parts.push_back("below " + ShortNumber(*v));
  }
  std::string text;
  for (const std::string& part : parts) text += ", " + part;
  return text;
}

std::string Lengths(const TypeDefinition& definition, const char* unit) {
  const std::string limits = Limits(definition, "minlen", nullptr, "maxlen", nullptr);
  return limits.empty() ? "" : limits + " " + unit;
}

std::string DescribeBuiltin(const std::string& type) {
  if (type == "any") return "anything, or nothing at all";
  if (type == "bool") return "a number 0 or 1, or the string true or false";
  if (type == "int") return "a whole number that fits 32 bits";
  if (type == "real") return "a number";
  if (type == "string") return "a string";
  if (type == "unicodestring") return "a Unicode string";
  if (type == "bindata") return "binary data";
  return "a raw pointer";
}

std::string DescribeDefinition(const TypeDefinition& d) {
  const std::string& c = *d.category;
  if (c == "int") {
    return "a whole number that fits 32 bits" + Limits(d, "min", "minexcl", "max", "maxexcl");
  }
  if (c == "real") return "a number" + Limits(d, "min", "minexcl", "max", "maxexcl");
  if (c == "string") {
    std::string text = "a string" + Lengths(d, "bytes long");
    if (d.illegalChars) text += ", without any of the characters " + Quoted(*d.illegalChars);
    if (d.oneOf) text += ", one of: " + NameList(*d.oneOf);
    return text;
  }
  if (c == "unicodestring") return "a Unicode string" + Lengths(d, "units long");
  if (c == "bindata") {
    std::string text = "binary data" + Lengths(d, "bytes");
    if (d.oneOf) text += ", its type name one of: " + NameList(*d.oneOf);
    return text;
  }
  if (c == "rawptr" || c == "moxobjref" || c == "ctbaseobjref" || c == "moxerrorobjref") {
    return "a raw pointer";
  }
  if (c == "array") {
    std::string text = "an array" + Lengths(d, "members");
    if (d.memberType) return text + ", each member of type " + *d.memberType;
    if (d.memberTypes) {
      return text + " of exactly " + std::to_string(d.memberTypes->size()) +
             " members, of the types " + NameList(*d.memberTypes) + " in turn";
    }
    return text + ", its members not checked";
  }
  if (c == "dict") {
    std::string text = "a dictionary";
    std::vector<std::string> parts;
    auto names = [](const std::vector<TypeDefinition::Member>& members) {
      std::vector<std::string> keys;
      for (const TypeDefinition::Member& member : members) {
        // A key that isn't a plain name is quoted, so that the list reads.
        const bool plain =
            !member.key.empty() && member.key.find_first_not_of(
                                       "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN"
                                       "OPQRSTUVWXYZ0123456789_") == std::string::npos;
        keys.push_back(plain ? member.key : Quoted(member.key));
      }
      return NameList(keys);
    };
    if (d.required && !d.required->empty()) parts.push_back("required " + names(*d.required));
    if (d.optional && !d.optional->empty()) parts.push_back("optional " + names(*d.optional));
    if (d.keyType) {
      parts.push_back("any other key of type " + *d.keyType +
                      (d.valueType ? ", its value of type " + *d.valueType : ""));
    } else {
      parts.push_back("no other members");
    }
    for (size_t i = 0; i < parts.size(); ++i) text += (i == 0 ? ": " : "; ") + parts[i];
    return text;
  }
  if (c == "union") {
    if (!d.set || d.set->empty()) return "a union of no types, which no value passes";
    return "any one of the types " + NameList(*d.set);
  }
  if (c == "intersection") {
    if (!d.set || d.set->empty()) return "an intersection of no types, which every value passes";
    return "all of the types " + NameList(*d.set) + " at once";
  }
  return "nothing: its category " + Quoted(c) +
         " is unknown to the validator, which stops with \"Unknown category in schema\"";
}

class Walker {
 public:
  Walker(const SchemaModel& schema, const Address& address) : schema_(schema), address_(address) {}

  // Walks from step `step` of the address with the value judged as `type`;
  // `how` says how the value got that type. True when the address can be.
  bool Walk(const std::string& type, size_t step, const std::string& how, size_t indent,
            size_t unionDepth, Explanation* out) {
    const std::string pad(indent * 2, ' ');
    const std::string head = pad + how + "type " + type + ": ";
    const size_t inner = indent + 1;
    if (SchemaModel::IsBuiltin(type)) {
      out->lines.push_back(head + DescribeBuiltin(type));
      if (step == address_.steps.size() || type == "any") return true;
      return Refuse(pad, step, "a value of type " + type + " has no members", out);
    }
    const TypeDefinition* d = schema_.Find(type);
    if (d == nullptr) {
      out->lines.push_back(head +
                           "no definition in the schema; the validator says \"Schema "
                           "not applicable, no definition for " +
                           type + "\"");
      return false;
    }
    if (!d->category) {
      out->lines.push_back(head +
                           "a definition without a category; the validator stops with "
                           "\"Malformed schema definition for " +
                           type + ", no category\"");
      return false;
    }
    out->lines.push_back(head + DescribeDefinition(*d));
    const std::string& c = *d->category;
    if (c == "union" || c == "intersection") {
      if (!d->set || d->set->empty() || unionDepth >= kMaxUnionNesting) {
        return step == address_.steps.size() ? c == "intersection" : false;
      }
      bool any = false;
      bool all = true;
      for (const std::string& member : *d->set) {
        const bool ok = Walk(member, step,
                             c == "union" ? "as a member of union " + type + ", "
                                          : "as a part of intersection " + type + ", ",
                             inner, unionDepth + 1, out);
        any = any || ok;
        all = all && ok;
      }
      return c == "union" ? any : all;
    }
    if (step == address_.steps.size()) return true;
    const AddressStep& next = address_.steps[step];
    const std::string at = address_.DescribePrefix(step + 1);
    if (c == "array") return Element(*d, type, next, at, step, inner, out);
    if (c == "dict") return Member(*d, type, next, at, step, inner, out);
    return Refuse(pad, step, "a value of type " + type + " has no members", out);
  }

 private:
  bool Element(const TypeDefinition& d, const std::string& type, const AddressStep& next,
               const std::string& at, size_t step, size_t indent, Explanation* out) {
    const std::string pad(indent * 2, ' ');
    uint64_t index = 0;
    if (next.kind == AddressStep::Kind::kKey ||
        !ParseIndex(next.text, next.kind == AddressStep::Kind::kToken, &index)) {
      return Refuse(pad, step, "type " + type + " is an array, whose members have no keys", out);
    }
    if (const auto maxlen = d.Number("maxlen")) {
      if (static_cast<double>(index) >= *maxlen) {
        return Refuse(pad, step,
                      "type " + type + " allows at most " + ShortNumber(*maxlen) + " members", out);
      }
    }
    std::string member;
    if (d.memberType) {
      member = *d.memberType;
    } else if (d.memberTypes) {
      if (index >= d.memberTypes->size()) {
        return Refuse(
            pad, step,
            "type " + type + " has exactly " + std::to_string(d.memberTypes->size()) + " members",
            out);
      }
      member = (*d.memberTypes)[index];
    } else {
      member = "any";
    }
    return Walk(member, step + 1, at + ": member " + std::to_string(index) + " of " + type + ", ",
                indent, 0, out);
  }

  bool Member(const TypeDefinition& d, const std::string& type, const AddressStep& next,
              const std::string& at, size_t step, size_t indent, Explanation* out) {
    const std::string pad(indent * 2, ' ');
    if (next.kind == AddressStep::Kind::kSubscript) {
      return Refuse(pad, step, "type " + type + " is a dictionary, whose members have keys", out);
    }
    const std::string& key = next.text;
    // Each check that names the member applies; the value must pass them all.
    std::vector<std::pair<std::string, std::string>> checks;  // how, type
    const TypeDefinition::Member* required = d.FindRequired(key);
    const TypeDefinition::Member* optional = d.FindOptional(key);
    if (required != nullptr) checks.push_back({"a required member", required->type.value_or("")});
    if (optional != nullptr) checks.push_back({"an optional member", optional->type.value_or("")});
    const bool known = !checks.empty() || d.keyType;
    if (!known) {
      return Refuse(pad, step,
                    "type " + type + " has no member " + Quoted(key) +
                        " (the validator says \"Unknown member " + key + "\")",
                    out);
    }
    if (d.valueType) {
      checks.push_back({"a member", *d.valueType});
    } else if (checks.empty()) {
      checks.push_back({"a member", "any"});  // a key that passes "keytype", its value unchecked
    }
    const std::string keyNote = d.keyType ? " (its key of type " + *d.keyType + ")" : "";
    bool all = true;
    for (const auto& [how, memberType] : checks) {
      const std::string head = at + ": " + how + " of " + type + keyNote + ", ";
      if (memberType.empty()) {
        out->lines.push_back(pad + head + "of no type that is a string: not checked");
        continue;
      }
      all = Walk(memberType, step + 1, head, indent, 0, out) && all;
    }
    return all;
  }

  bool Refuse(const std::string& pad, size_t step, const std::string& why, Explanation* out) {
    out->lines.push_back(pad + address_.DescribePrefix(step + 1) + " can't be: " + why);
    return false;
  }

  const SchemaModel& schema_;
  const Address& address_;
};

}  // namespace

std::string DescribeType(const SchemaModel& schema, const std::string& type) {
  if (SchemaModel::IsBuiltin(type)) return DescribeBuiltin(type);
  const TypeDefinition* d = schema.Find(type);
  if (d == nullptr || !d->category) return "no usable definition";
  return DescribeDefinition(*d);
}

Explanation ExplainAddress(const SchemaModel& schema, const std::string& type,
                           const Address& address) {
  Explanation explanation;
  // A leading subscript, as in [0].name, reaches into a top level that is
  // no dictionary: the empty key before it names nothing.
  Address walked = address;
  if (walked.steps.size() > 1 && walked.steps[0].kind == AddressStep::Kind::kKey &&
      walked.steps[0].text.empty() && walked.steps[1].kind == AddressStep::Kind::kSubscript) {
    walked.steps.erase(walked.steps.begin());
  }
  explanation.allowed = Walker(schema, walked).Walk(type, 0, "the top level: ", 0, 0, &explanation);
  return explanation;
}

}  // namespace posctl
