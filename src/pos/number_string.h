// Number and String: the two simplest value classes, immutable from
// construction on, so any thread may read them and a clone is the object
// itself.
#ifndef MOXUTILS_POS_NUMBER_STRING_H_
#define MOXUTILS_POS_NUMBER_STRING_H_

#include "binding/string_holder.h"
#include "pos/base_object.h"

namespace NPOSObjectImpl {

// A 64-bit IEEE double. There is no integer type: an integer is a double
// with no fraction.
class Number final : public BaseObject {
 public:
  static constexpr const char* kNotThisClass = "instance was not an POSNumber";
  static constexpr ObjectClass kClass = ObjectClass::kNumber;

  explicit Number(double value) : fValue(value) {}

  BaseObject* Clone() override;
  // IEEE equality: NaN equals nothing, itself included; 0.0 equals -0.0.
  bool IsEqual(const CPOSObject& other) override;
  ObjectClass Class() const override { return kClass; }

  double Value() const { return fValue; }

 private:
  const double fValue;
};

// An interned 8-bit text. Equal texts share one atom, so equality is a
// pointer comparison.
class String final : public BaseObject {
 public:
  static constexpr const char* kNotThisClass = "instance was not an POSString";
  static constexpr ObjectClass kClass = ObjectClass::kString;

  // std::bad_alloc when the runtime can't make the atom.
  explicit String(const char* text);

  BaseObject* Clone() override;
  bool IsEqual(const CPOSObject& other) override;
  ObjectClass Class() const override { return kClass; }

  const char* Text() const { return fText.CString(); }
  // The interned text itself, for a reader that needs the atom of a name it
  // found in a String.
  const CMOXStringHolder& Atom() const { return fText; }

 private:
  const CMOXStringHolder fText;
};

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_NUMBER_STRING_H_
