// ValidateSchema of arbitrary notation. It has no guard, so an exception may
// reach the caller, as it may reach any component; otherwise the check ends
// valid with no line or invalid with lines, reporting nothing. A schema it
// finds valid must then be usable: validating plain values against each of
// its types never meets a malformed definition (the category "objref" aside,
// which only the meta-schema knows, on purpose).
#include <exception>

#include "fuzz_session.h"

using namespace moxfuzz;

namespace {

thread_local Strings* tLines = nullptr;
void CollectLine(const char* line) {
  tLines->push_back(line);
}

void Warm(const Procs& p) {
  Kept schema(p, Parse(p, "< T < category dict valuetype N > N < category int max 1 > >"));
  Strings lines;
  tLines = &lines;
  p.posStructValidator.ValidateSchema(schema.get(), &CollectLine);
  tLines = nullptr;
}

// Whether a definition of `schema` has the category "objref".
bool UsesObjRef(const Procs& p, MOXContainer schema) {
  bool found = false;
  Kept keys(p, p.posDictIterator.NewPOSDictIterator(schema));
  for (; !found && !p.posDictIterator.IsDone(keys.get()); p.posDictIterator.Next(keys.get())) {
    MOXStringAtom key = p.string.NewStringAtom(p.posDictIterator.CurKey(keys.get()));
    MOXContainer definition = p.posDict.Get(schema, key);
    p.string.DeleteStringAtom(key);
    MOXStringAtom word = p.string.NewStringAtom("category");
    MOXContainer category =
        p.posDict.IsPOSDict(definition) ? p.posDict.Get(definition, word) : nullptr;
    p.string.DeleteStringAtom(word);
    found = p.posString.IsPOSString(category) && std::string(p.posString.Get(category)) == "objref";
  }
  return found;
}

// Validates a value of each class against every type of `schema`: the walk
// must not find a definition that the schema check let through malformed.
void UseEveryType(const Procs& p, MOXContainer schema, const std::string& input) {
  Kept validator(p, p.posStructValidator.NewPOSStructValidator(schema));
  Kept values(p, Parse(p, "[1 s `0041` [] <> [1 s] <k v>]"));
  Kept keys(p, p.posDictIterator.NewPOSDictIterator(schema));
  for (; !p.posDictIterator.IsDone(keys.get()); p.posDictIterator.Next(keys.get())) {
    MOXStringAtom type = p.string.NewStringAtom(p.posDictIterator.CurKey(keys.get()));
    for (uint64_t i = 0; i < p.posArray.Count(values.get()); ++i) {
      p.posValidator.Validate(validator.get(), p.posArray.GetAt(values.get(), i), type, nullptr);
      for (const std::string& report : TakeReports()) {
        // The meta-schema knows the category "objref", the walk doesn't: a
        // difference the schema language keeps on purpose.
        if (report.rfind("Malformed schema definition", 0) == 0 ||
            (report == "Unknown category in schema" && !UsesObjRef(p, schema))) {
          Fail(("a valid schema has a malformed type: " + report).c_str(), input);
        }
      }
    }
    p.string.DeleteStringAtom(type);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Procs& p = Start("validate_schema_fuzz", &Warm);
  const std::string input = Text(data, size);
  {
    Kept schema(p, Parse(p, input));
    if (schema.get() != nullptr) {
      TakeReports();
      Strings lines;
      tLines = &lines;
      bool valid = false, thrown = false;
      try {
        valid = p.posStructValidator.ValidateSchema(schema.get(), &CollectLine);
      } catch (const std::exception&) {
        thrown = true;
      }
      tLines = nullptr;
      const Strings reports = TakeReports();
      if (!thrown) {
        if (valid != lines.empty()) Fail("the truth and the lines disagree", input);
        if (!reports.empty()) Fail("the check reported", input);
        if (valid) UseEveryType(p, schema.get(), input);
      }
    }
  }
  TakeReports();
  CheckCounts(input);
  return 0;
}
