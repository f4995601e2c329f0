// Finds the value that a fault line of the validator names, in the source
// the value was read from.
//
// A line is a chain of prefixes, each followed by a blank, and a message:
//
//   "[i]:"                           element i of an array
//   "K (required, type != T):"      the value of member K (also optional,
//                                    value)
//   "K (key, type != T):"           the key K itself
//   "Not a valid union type:", "Trying T:", "Failed intersection type T:"
//                                    the same value, judged as T
//
// The message decides the end: "Unknown member K" is the key K, "Missing
// required member K" the opening bracket of the dictionary, anything else
// the value reached. A key or a type name may itself hold ": " or a text
// that looks like a prefix, so the prefixes are read from the left with the
// schema saying which forms the type at each point can give, and the
// source saying which keys exist; where a reading fails, another is tried.
// A prefix that leads nowhere in the source (the walk never stops at the
// wrong place without saying so) leaves the place at the nearest enclosing
// value, marked inexact.
#ifndef POSCTL_FAULT_LOCATOR_H_
#define POSCTL_FAULT_LOCATOR_H_

#include <string>
#include <string_view>
#include <vector>

#include "schema_model.h"
#include "source_tree.h"

namespace posctl {

// One prefix of a line, as followed.
struct FaultStep {
  enum class Kind {
    kElement,       // "[i]:"
    kKey,           // "K (key, type != T):"
    kMember,        // "K (required|optional|value, type != T):"
    kUnionMember,   // "Not a valid union type: Trying T:"
    kIntersection,  // "Failed intersection type T:"
  };
  Kind kind;
  std::string key;   // kKey, kMember
  std::string how;   // kMember: "required", "optional" or "value"
  size_t index = 0;  // kElement
  std::string type;  // the type the step judges the value as
};

struct FaultPlace {
  Location at;
  bool exact = true;
  // When inexact: the part of the line, from the prefix on, that could not
  // be followed in the source.
  std::string unfollowed;
  std::vector<FaultStep> steps;
  std::string type;     // the type whose check gave the message
  std::string message;  // the line without its prefixes
};

// The place of `line`, a fault of `root` judged as `type` under `schema`.
FaultPlace LocateFault(std::string_view line, const SchemaModel& schema, const std::string& type,
                       const SourceNode& root);

}  // namespace posctl

#endif  // POSCTL_FAULT_LOCATOR_H_
