// A guard against running a thread out of stack in the library's recursive
// walks. Every walk of a POS tree (reading and writing TypeA text, parsing the
// notation, cloning, comparing, dumping, validating) recurses once per level
// of nesting, so the depth of the data sets the stack used: a stream of a
// hundred thousand opening brackets, or an object that contains itself, would
// overflow the calling thread's stack and take the host process down with it.
// A walk that calls CheckStackReserve() before each level refuses such data
// instead, while a reserve of stack is still left for the refusal to unwind
// through. It lives in the bottom layer so that every layer's walks can use
// it; the TypeA reader and writer do.
//
// How deep a walk gets: the reserve is a quarter of the thread's stack, at
// most 256 KiB, so on a default 8 MiB stack a walk may use 7.75 MiB. The
// TypeA reader and writer take about 200 bytes a level in an optimised build,
// which lets them go some 40,000 levels deep; a walk with larger frames, or
// any walk in a sanitizer build, goes proportionally less deep. A thread with
// a 1 MiB stack gives the TypeA reader about 4,000 levels.
//
// Any thread may call it; the bounds of each thread's stack are learnt once,
// on its first call.
#ifndef MOXUTILS_BINDING_STACK_GUARD_H_
#define MOXUTILS_BINDING_STACK_GUARD_H_

namespace MOX_T_MT {

// Raises POSException "nesting too deep for the stack" when the calling
// thread has less than its reserve of stack left. Does nothing on a thread
// whose stack bounds can't be learnt.
void CheckStackReserve();

}  // namespace MOX_T_MT

#endif  // MOXUTILS_BINDING_STACK_GUARD_H_
