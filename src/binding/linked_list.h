// Intrusive doubly linked lists for objects with static storage. The header
// has no constructor, so that it is valid as zeroed static storage and
// elements can link themselves in while static constructors run in any order.
// New elements go to the head: a list runs from the newest to the oldest.
// List operations take no lock of their own; a list that needs one links its
// elements through LinkInto and Unlink under it.
#ifndef MOXUTILS_BINDING_LINKED_LIST_H_
#define MOXUTILS_BINDING_LINKED_LIST_H_

#include <cstdint>

// The default parent of list elements: nothing, global allocator.
class MOXDLLEParent {};

template <class T, class P>
class double_linked_list_element;

template <class T, class P>
struct no_construct_double_linked_list {
  double_linked_list_element<T, P>* fHead;
  uint64_t fCount;

  T* Head() const { return static_cast<T*>(fHead); }
};

template <class T, class P>
class double_linked_list_element : public P {
 public:
  using list_type = no_construct_double_linked_list<T, P>;

  // Links the element at the head of `list`.
  explicit double_linked_list_element(list_type* list)
      : fNext(nullptr), fPrev(nullptr), fList(nullptr) {
    LinkInto(list);
  }

  // Unlinks the element, unless it has left its list already.
  virtual ~double_linked_list_element() { Unlink(); }

  double_linked_list_element(const double_linked_list_element&) = delete;
  double_linked_list_element& operator=(const double_linked_list_element&) = delete;

  T* Next() const { return static_cast<T*>(fNext); }
  T* Prev() const { return static_cast<T*>(fPrev); }

 protected:
  // For elements whose list needs a lock of its own: constructed unlinked,
  // they link with LinkInto and leave with Unlink while holding it.
  struct Unlinked {};
  explicit double_linked_list_element(Unlinked) : fNext(nullptr), fPrev(nullptr), fList(nullptr) {}

  void LinkInto(list_type* list) {
    fNext = list->fHead;
    fPrev = nullptr;
    fList = list;
    if (fNext != nullptr) fNext->fPrev = this;
    list->fHead = this;
    ++list->fCount;
  }

  void Unlink() {
    if (fList == nullptr) return;
    if (fNext != nullptr) fNext->fPrev = fPrev;
    if (fPrev != nullptr) {
      fPrev->fNext = fNext;
    } else {
      fList->fHead = fNext;
    }
    --fList->fCount;
    fList = nullptr;
  }

 public:
  // Links are kept as element pointers: an element links itself while its
  // most derived part is not constructed yet.
  double_linked_list_element* fNext;
  double_linked_list_element* fPrev;
  list_type* fList;
};

#endif  // MOXUTILS_BINDING_LINKED_LIST_H_
