// What a value at an address must be under a type of a schema: the schema
// walked along the address the way the validator walks a value, through
// dictionaries, arrays, unions and intersections, and told in words.
#ifndef POSCTL_SCHEMA_EXPLAIN_H_
#define POSCTL_SCHEMA_EXPLAIN_H_

#include <string>
#include <vector>

#include "address.h"
#include "schema_model.h"

namespace posctl {

struct Explanation {
  // True when some value of `type` may hold a value at the address.
  bool allowed = false;
  // One line per step of the chain of types that leads there, indented by
  // the unions and intersections it passes through; the last says what the
  // value must be, or why the address can't be.
  std::vector<std::string> lines;
};

Explanation ExplainAddress(const SchemaModel& schema, const std::string& type,
                           const Address& address);

// What a value of `type` must be, in one phrase: "a number from 1 to 9".
std::string DescribeType(const SchemaModel& schema, const std::string& type);

}  // namespace posctl

#endif  // POSCTL_SCHEMA_EXPLAIN_H_
