// State of the library's start and stop, for the binding layer and its tests.
#ifndef MOXUTILS_LIBRARY_ENTRY_H_
#define MOXUTILS_LIBRARY_ENTRY_H_

// MOXUtilsInitialize has run and MOXUtilsTerminate has not.
extern bool gInitialized;
// MOXUtilsAtExit has been handed to the at-exit mechanism; never cleared.
extern bool gAtExitRegistered;

#endif  // MOXUTILS_LIBRARY_ENTRY_H_
