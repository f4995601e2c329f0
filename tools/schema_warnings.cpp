#include "schema_warnings.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "diagnostics.h"

namespace posctl {
namespace {

class Finder {
 public:
  Finder(const SchemaModel& schema, const SourceNode& root) : schema_(schema), root_(root) {}

  std::vector<SchemaWarning> Run() {
    for (const std::string& name : schema_.keys()) {
      const SourceNode* entry = root_.Member(name);
      if (SchemaModel::IsBuiltin(name)) {
        Warn(entry != nullptr ? entry->keyAt : root_.at,
             "'" + name + "' is a built-in type: the validator never consults this definition");
      }
      const TypeDefinition* definition = schema_.Find(name);
      if (definition != nullptr && definition->category) Definition(*definition, entry);
    }
    return std::move(warnings_);
  }

 private:
  void Warn(const Location& at, std::string message) {
    warnings_.push_back({at, std::move(message)});
  }

  // The place of key `key` of the entry, or of its value; the entry itself
  // when it has none.
  Location Place(const SourceNode* entry, const char* key, bool ofKey = false) const {
    if (entry == nullptr) return root_.at;
    const SourceNode* member = entry->Member(key);
    if (member == nullptr) return entry->at;
    return ofKey ? member->keyAt : member->at;
  }

  void Definition(const TypeDefinition& definition, const SourceNode* entry) {
    const std::string& category = *definition.category;
    if (category == "objref") {
      Warn(Place(entry, "category"),
           "the category objref passes this check, but the validator refuses it (\"Unknown "
           "category in schema\"); it knows moxobjref, ctbaseobjref and moxerrorobjref");
    }
    if (category == "int" || category == "real") Crossed(definition, entry, "min", "max");
    const bool hasLengths = category == "string" || category == "unicodestring" ||
                            category == "bindata" || category == "array";
    if (hasLengths) {
      Crossed(definition, entry, "minlen", "maxlen");
      Fractional(definition, entry, "minlen", true);
      Fractional(definition, entry, "maxlen", false);
    }
    if (category == "union" && (!definition.set || definition.set->empty())) {
      const bool present = entry != nullptr && entry->Member("set") != nullptr;
      if (!definition.set && !present) {
        Warn(Place(entry, "set"), "a union without \"set\" fails every value, without a line");
      } else if (definition.set) {
        Warn(Place(entry, "set"),
             "a union with an empty \"set\" fails every value, without a line");
      }
    }
    if (category == "dict" && definition.valueType && !definition.keyType) {
      Warn(Place(entry, "valuetype", true),
           "\"valuetype\" without \"keytype\" checks every member's value, but each member that "
           "\"required\" and \"optional\" don't name is still an unknown member");
    }
  }

  void Crossed(const TypeDefinition& definition, const SourceNode* entry, const char* low,
               const char* high) {
    const std::optional<double> lowest = definition.Number(low);
    const std::optional<double> highest = definition.Number(high);
    if (lowest && highest && *lowest > *highest) {
      Warn(Place(entry, low), std::string(low) + " " + ShortNumber(*lowest) + " is above " + high +
                                  " " + ShortNumber(*highest) + ": no value passes both");
    }
  }

  // The validator compares a length with the limit as it stands, and its
  // messages show the limit cut to a whole number.
  void Fractional(const TypeDefinition& definition, const SourceNode* entry, const char* key,
                  bool isMinimum) {
    const std::optional<double> limit = definition.Number(key);
    if (!limit || !std::isfinite(*limit) || std::floor(*limit) == *limit) return;
    const double acts = isMinimum ? std::ceil(*limit) : std::floor(*limit);
    Warn(Place(entry, key), std::string(key) + " " + ShortNumber(*limit) +
                                " is not a whole number: it acts as " + ShortNumber(acts) +
                                ", and the validator's messages show " +
                                ShortNumber(std::trunc(*limit)));
  }

  const SchemaModel& schema_;
  const SourceNode& root_;
  std::vector<SchemaWarning> warnings_;
};

}  // namespace

std::string ShortNumber(double value) {
  char text[40];
  // Whole numbers as their digits: "100", never "1e+02".
  if (std::isfinite(value) && std::floor(value) == value && std::fabs(value) < 1e17) {
    std::snprintf(text, sizeof text, "%.0f", value);
    return text;
  }
  for (int precision = 1; precision <= 17; ++precision) {
    std::snprintf(text, sizeof text, "%.*g", precision, value);
    if (std::strtod(text, nullptr) == value) break;
  }
  return text;
}

std::vector<SchemaWarning> FindSchemaWarnings(const SchemaModel& schema, const SourceNode& root) {
  return Finder(schema, root).Run();
}

}  // namespace posctl
