// "MOXProgressInterface": progress objects that long operations report to.
// A null progress never asks to stop; a client progress passes each update to
// the client's adapter and releases the client with the last reference.
#ifndef MOXHOST_PROGRESS_H_
#define MOXHOST_PROGRESS_H_

#include "registry.h"

namespace moxhost {

InterfaceRows ProgressInterface();

}  // namespace moxhost

#endif  // MOXHOST_PROGRESS_H_
