#include "schema_check_view.h"

#include <algorithm>
#include <map>

#include "POSValidatorProcs.h"

#include "diagnostics.h"
#include "nearest_name.h"

namespace posctl {
namespace {

constexpr std::string_view kUnknown = "Unknown member ";

struct Form {
  const char* category;
  const char* name;   // the form in the meta-schema
  const char* words;  // what the user calls it
};

constexpr Form kForms[] = {
    {"int", "IntDefn", "an int definition"},
    {"real", "RealDefn", "a real definition"},
    {"string", "StringDefn", "a string definition"},
    {"unicodestring", "UnicodeStringDefn", "a unicodestring definition"},
    {"bindata", "BinDataDefn", "a bindata definition"},
    {"objref", "ObjRefDefn", "an objref definition"},
    {"array", "ArrayDefn", "an array definition"},
    {"dict", "DictDefn", "a dict definition"},
    {"union", "UnionDefn", "a union definition"},
    {"intersection", "IntersectionDefn", "an intersection definition"},
};

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// The keys that a form of the meta-schema knows, required ones first.
std::vector<std::string> FormKeys(const SchemaModel& meta, const std::string& form) {
  std::vector<std::string> keys;
  const TypeDefinition* definition = meta.Find(form);
  if (definition == nullptr) return keys;
  for (const auto* members : {&definition->required, &definition->optional}) {
    if (!*members) continue;
    for (const TypeDefinition::Member& member : **members) keys.push_back(member.key);
  }
  return keys;
}

class View {
 public:
  View(const SchemaModel& schema, const SchemaModel& meta, const SourceNode& root)
      : schema_(schema), meta_(meta), root_(root) {}

  std::vector<SchemaFault> Run(const std::vector<std::string>& lines, bool raw) {
    // Lines grouped by the entry they judge, entries in the order the check
    // reports them; lines about no one entry stand alone in that order.
    std::vector<std::vector<SchemaFault>> groups;
    std::map<std::string, size_t> groupOf;
    for (const std::string& line : lines) {
      FaultPlace place = LocateFault(line, meta_, POS_STRUCT_VALIDATOR_SCHEMA_TYPE, root_);
      SchemaFault fault{std::move(place), line};
      const std::vector<FaultStep>& steps = fault.place.steps;
      const bool ofEntry = !raw && !steps.empty() && steps[0].kind == FaultStep::Kind::kMember;
      if (!ofEntry) {
        groups.push_back({std::move(fault)});
        continue;
      }
      auto [it, added] = groupOf.emplace(steps[0].key, groups.size());
      if (added) groups.emplace_back();
      groups[it->second].push_back(std::move(fault));
    }
    std::vector<SchemaFault> shown;
    for (std::vector<SchemaFault>& group : groups) {
      const std::vector<FaultStep>& steps = group.front().place.steps;
      if (raw || steps.empty() || steps[0].kind != FaultStep::Kind::kMember) {
        for (SchemaFault& fault : group) shown.push_back(std::move(fault));
        continue;
      }
      Entry(steps[0].key, group, &shown);
    }
    return shown;
  }

 private:
  void Entry(const std::string& name, std::vector<SchemaFault>& lines,
             std::vector<SchemaFault>* shown) const {
    const SourceNode* node = root_.Member(name);
    const Location entryAt = node != nullptr ? node->at : root_.at;
    const std::string quoted = "'" + Printable(name) + "'";
    const TypeDefinition* definition = schema_.Find(name);
    if (definition == nullptr) {
      shown->push_back(Own(entryAt, "the definition of " + quoted +
                                        " is no dictionary: a definition is a dictionary with "
                                        "a \"category\""));
      return;
    }
    if (!definition->category) {
      shown->push_back(Own(entryAt, "the definition of " + quoted +
                                        " has no \"category\" that is a string; the categories "
                                        "are " +
                                        Joined(SchemaCategories())));
      return;
    }
    const Form* form = nullptr;
    for (const Form& candidate : kForms) {
      if (*definition->category == candidate.category) form = &candidate;
    }
    if (form == nullptr) {
      const SourceNode* category = node != nullptr ? node->Member("category") : nullptr;
      const std::string nearest = NearestName(*definition->category, SchemaCategories());
      shown->push_back(Own(category != nullptr ? category->at : entryAt,
                           "unknown category '" + Printable(*definition->category) +
                               "' in the definition of " + quoted +
                               (nearest.empty() ? "" : " (did you mean '" + nearest + "'?)") +
                               "; the categories are " + Joined(SchemaCategories())));
      return;
    }
    // An array definition is itself one of two forms, told apart by
    // whether "membertype" is a list.
    std::vector<std::string> path = {form->name};
    std::string words = form->words;
    if (std::string_view(form->name) == "ArrayDefn") {
      const bool hetero = definition->memberTypes.has_value();
      path.push_back(hetero ? "HeteroArrayDefn" : "HomoArrayDefn");
      if (hetero) words = "an array definition with a list of member types";
    }
    const size_t before = shown->size();
    for (SchemaFault& fault : lines) {
      if (!Follows(fault.place.steps, path)) continue;
      if (fault.place.steps.size() == path.size() + 1 &&
          fault.place.message.compare(0, kUnknown.size(), kUnknown) == 0) {
        const std::string key = fault.place.message.substr(kUnknown.size());
        const std::vector<std::string> known = FormKeys(meta_, path.back());
        const std::string nearest = NearestName(key, known);
        fault.message = "unknown key '" + Printable(key) + "' in " + words +
                        (nearest.empty() ? "; its keys are " + Joined(known)
                                         : "; did you mean '" + nearest + "'?");
      }
      shown->push_back(std::move(fault));
    }
    // A form that gave no line of its own can't hide the others.
    if (shown->size() == before) {
      for (SchemaFault& fault : lines) shown->push_back(std::move(fault));
    }
  }

  // The steps go through the entry and then the union members of `path`.
  static bool Follows(const std::vector<FaultStep>& steps, const std::vector<std::string>& path) {
    if (steps.size() <= path.size()) return false;
    for (size_t i = 0; i < path.size(); ++i) {
      if (steps[i + 1].kind != FaultStep::Kind::kUnionMember || steps[i + 1].type != path[i]) {
        return false;
      }
    }
    return true;
  }

  static SchemaFault Own(const Location& at, std::string message) {
    SchemaFault fault;
    fault.place.at = at;
    fault.message = std::move(message);
    return fault;
  }

  const SchemaModel& schema_;
  const SchemaModel& meta_;
  const SourceNode& root_;
};

}  // namespace

const std::vector<std::string>& SchemaCategories() {
  static const std::vector<std::string> kNames = [] {
    std::vector<std::string> names;
    for (const Form& form : kForms) names.push_back(form.category);
    return names;
  }();
  return kNames;
}

std::vector<SchemaFault> ViewSchemaCheck(const std::vector<std::string>& lines,
                                         const SchemaModel& schema, const SchemaModel& meta,
                                         const SourceNode& root, bool raw) {
  return View(schema, meta, root).Run(lines, raw);
}

}  // namespace posctl
