// The JSON text of values that POS holds in another form: true and false
// (strings in POS), null (a placeholder string) and integers that a double
// can't hold. An edit of a JSON file keeps them, so that what it doesn't
// touch is written back as it was read, not as the mapping would turn it.
#ifndef POSCTL_JSON_FORMS_H_
#define POSCTL_JSON_FORMS_H_

#include <string>
#include <unordered_map>
#include <utility>

#include "library_session.h"

namespace posctl {

class JsonSourceForms {
 public:
  // Remembers that `value` was read from `text`. The reference keeps the
  // object alive, so that no later object can take its address.
  void Keep(const Ref& value, std::string text) { forms_[value.get()] = {value, std::move(text)}; }
  // The text `value` was read from, if it is one of those; else null.
  const std::string* Find(MOXContainer value) const {
    auto it = forms_.find(value);
    return it == forms_.end() ? nullptr : &it->second.second;
  }

  // The nulls read, and the address of the first, for a note of `check`.
  size_t nulls = 0;
  std::string firstNullAddress;

 private:
  std::unordered_map<MOXContainer, std::pair<Ref, std::string>> forms_;
};

}  // namespace posctl

#endif  // POSCTL_JSON_FORMS_H_
