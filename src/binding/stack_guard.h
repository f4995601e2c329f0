// Nesting in the TypeA text is followed by recursion, so the depth of the data
// sets the stack used. A stream of a hundred thousand opening brackets, or an
// object that contains itself, would run the calling thread out of stack and
// take the host process down. The drivers ask this guard before each level and
// refuse the object instead, while a reserve of stack is still left for the
// refusal to unwind through.
#ifndef MOXUTILS_BINDING_STACK_GUARD_H_
#define MOXUTILS_BINDING_STACK_GUARD_H_

namespace NPOSStreamerImpl {
namespace NTypeAImpl {

// Raises "nesting too deep for the stack" when the calling thread has less
// than its reserve of stack left: a quarter of the stack, at most 256 KiB.
// Does nothing on a thread whose stack bounds can't be learnt.
void CheckStackReserve();

}  // namespace NTypeAImpl
}  // namespace NPOSStreamerImpl

#endif  // MOXUTILS_BINDING_STACK_GUARD_H_
