// The two conversions that decide what the walk accepts and prints.
#ifndef MOXUTILS_VALIDATOR_NUMBER_RULES_H_
#define MOXUTILS_VALIDATOR_NUMBER_RULES_H_

#include <cstdint>

namespace NPOSValidatorImpl {

// Truncates toward zero to a signed 32-bit integer, as the processor does:
// a NaN, or a value whose truncation doesn't fit, gives -2147483648. So the
// built-in "int" refuses 3000000000 as not whole, and a length limit of 1e10
// prints as -2147483648.
inline int32_t TruncateToInt32(double value) {
  // The negated test is true for a NaN as well.
  if (!(value > -2147483649.0 && value < 2147483648.0)) return INT32_MIN;
  return static_cast<int32_t>(value);
}

// A number limit as its message prints it: rounded to single precision and
// widened back, so 16777217 prints as 16777216.000000 and 0.1 as 0.100000.
inline double AsSinglePrecision(double value) {
  return static_cast<double>(static_cast<float>(value));
}

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_NUMBER_RULES_H_
