// Runs work on a thread of a given stack size, for tests of what the library
// does when a walk meets the end of the stack.
#ifndef MOXUTILS_TESTS_SUPPORT_STACK_THREAD_H_
#define MOXUTILS_TESTS_SUPPORT_STACK_THREAD_H_

#include <cstddef>
#include <functional>

namespace moxtest {

constexpr size_t kSmallStack = 256 * 1024;

// Runs `work` on a new thread with a stack of `bytes` and waits for it. A
// thread that can't be started fails the test.
void RunWithStack(size_t bytes, const std::function<void()>& work);

}  // namespace moxtest

#endif  // MOXUTILS_TESTS_SUPPORT_STACK_THREAD_H_
