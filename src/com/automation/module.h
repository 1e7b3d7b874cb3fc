// The DLL's module state: its handle, and the counts that decide whether it may be unloaded
// (DllCanUnloadNow): live objects (every DispatchObject and class factory) and server locks
// (IClassFactory::LockServer).
#pragma once

#include "com/automation/windows_headers.h"

namespace cvimp::com::module {

void SetHandle(HMODULE handle);  // from DllMain
HMODULE Handle();                // the DLL's handle (the program's when no DLL set one)

void AddObject();
void ReleaseObject();
void Lock();
void Unlock();
long ObjectCount();
long LockCount();
// No object alive and no lock held.
bool CanUnload();

}  // namespace cvimp::com::module
