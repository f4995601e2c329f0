#include "support/stack_thread.h"

#include <gtest/gtest.h>
#include <pthread.h>

namespace moxtest {

void RunWithStack(size_t bytes, const std::function<void()>& work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
  pthread_t thread;
  auto trampoline = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  const int started =
      pthread_create(&thread, &attributes, trampoline, const_cast<std::function<void()>*>(&work));
  pthread_attr_destroy(&attributes);
  ASSERT_EQ(started, 0);
  pthread_join(thread, nullptr);
}

}  // namespace moxtest
