// CallbackMap: the client checks registered on a validator, by type name.
// A red-black tree written top-down, like a dictionary's, ordered by strcmp
// on the names. Registering a name that is already there puts the new node in
// the old one's place, so the later registration wins.
//
// Nothing here takes a lock: a map must not be changed beside any reader.
#ifndef MOXUTILS_VALIDATOR_CALLBACK_MAP_H_
#define MOXUTILS_VALIDATOR_CALLBACK_MAP_H_

#include <cstdint>

#include "POSValidatorProcs.h"
#include "binding/string_holder.h"

namespace NPOSValidatorImpl {

// A node lives in the runtime's memory and owns one reference to its name.
// `clientData` belongs to the client and is never touched.
struct CallbackNode {
  CallbackNode* left;
  CallbackNode* right;
  CallbackNode* parent;
  uint32_t colour;  // 0 red, 1 black
  CMOXStringHolder name;
  POSStructValidatorCallbackProc proc;
  void* clientData;
};

class CallbackMap {
 public:
  CallbackMap() : root(nullptr), end(nullptr) {}
  // Releases every name and frees every node, without recursion.
  ~CallbackMap();
  CallbackMap(const CallbackMap&) = delete;
  CallbackMap& operator=(const CallbackMap&) = delete;

  // Registers `proc` under `name`, replacing the node of an equal name.
  // std::bad_alloc leaves the map untouched.
  void Insert(const CMOXStringHolder& name, POSStructValidatorCallbackProc proc, void* clientData);
  // The node of `name`, or null. Reads only.
  const CallbackNode* Find(const char* name) const;

  CallbackNode* root;
  CallbackNode* const end;  // always null, the position past the last name

 private:
  void SplitOnTheWay(CallbackNode*& node);
  CallbackNode* Rebalance(CallbackNode* node);
  void RotateUp(CallbackNode* node);
  void Replace(CallbackNode* node, CallbackNode* replacement);
};

}  // namespace NPOSValidatorImpl

#endif  // MOXUTILS_VALIDATOR_CALLBACK_MAP_H_
