// DictIterator: a position in the keys of a Dict, in ascending byte order.
//
// An iterator holds no reference on its Dict: the creator keeps the Dict
// alive while the iterator is used. Put and Remove of other keys leave it
// usable (parent links and keys stay right); removing the key under it
// leaves it dangling.
#ifndef MOXUTILS_POS_DICT_ITERATOR_H_
#define MOXUTILS_POS_DICT_ITERATOR_H_

#include "MOXTypes.h"
#include "binding/client_base.h"
#include "pos/dict_tree.h"

namespace NPOSObjectImpl {

class DictIterator : public MOX_T_MT::CMOXClientBase {
 public:
  // Positioned on the first key, as Begin does.
  explicit DictIterator(DictTree* tree) : fTree(tree), fCurrent(tree->First()) {}
  virtual ~DictIterator() = default;

  void Begin() { fCurrent = fTree->First(); }
  void Next() { fCurrent = DictTree::Next(fCurrent); }
  bool IsDone() const { return fCurrent == fTree->End(); }
  // The current key; null past the end.
  const char* CurKey() const { return fCurrent == nullptr ? nullptr : fCurrent->Key(); }
  DictNode* Current() const { return fCurrent; }

 private:
  DictTree* fTree;
  DictNode* fCurrent;
};

// The iterator that Dict's own walks use, on the stack.
class ConstDictIterator : public DictIterator {
 public:
  using DictIterator::DictIterator;
};

// The iterator of `container`: one pointer comparison on the primary-instance
// record, else the runtime. "invalid container" when there is none.
DictIterator* ResolveDictIterator(MOXContainer container);

// Gives `iterator` a container named "POSDictIteratorImpl" with the signature
// "POSDictIteratorInterface"; unowned.
MOXContainer NewIteratorContainer(DictIterator* iterator);

}  // namespace NPOSObjectImpl

#endif  // MOXUTILS_POS_DICT_ITERATOR_H_
