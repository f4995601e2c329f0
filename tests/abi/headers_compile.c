/* The public headers must serve a plain C component: this file includes them
 * all, compiled as C11 with warnings as errors, and checks the layouts that a
 * foreign runtime or component relies on. */
#include <stddef.h>

#include "MOXRuntimeProcs.h"
#include "MOXTypes.h"
#include "MOXUtils.h"
#include "POSProcs.h"
#include "POSStreamerProcs.h"
#include "POSValidatorProcs.h"

_Static_assert(sizeof(bool) == 1, "truth values cross as one byte");
_Static_assert(sizeof(MOXPrimaryInstanceRecord) == 3 * sizeof(void*),
               "the primary-instance record is three words");
_Static_assert(offsetof(MOXPrimaryInstanceRecord, instanceName) == 0, "instance name first");
_Static_assert(offsetof(MOXPrimaryInstanceRecord, signature) == sizeof(void*),
               "signature second");
_Static_assert(offsetof(MOXPrimaryInstanceRecord, instance) == 2 * sizeof(void*),
               "instance third");

int main(void) {
  /* A component binds procedures by casting what the lookup gives. */
  MOXUtilsInitializeProc initialize = MOXUtilsInitialize;
  POSNumberNewPOSNumberProc newNumber = NULL;
  POSStreamerSerializeProc serialize = NULL;
  MOXNewFullContainerV5Proc newContainer = NULL;
  (void)newNumber;
  (void)serialize;
  (void)newContainer;
  return initialize == NULL;
}
