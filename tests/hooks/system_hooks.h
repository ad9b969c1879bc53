// Lets the tests watch and change the calls of the system that liborvane.dll makes, by replacing entries of function
// tables: those of the objects that it is given, and its table of imported functions.
#pragma once

namespace orvane::test {

// To be called once, on the thread that is to use the library.
void InstallHooks();

// For the hooks: the one that takes the place of an entry point that the library looks up.
void* HookEntryPoint(const char* name, void* found);
void HookImports();

}  // namespace orvane::test
