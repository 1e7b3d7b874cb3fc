#include "com/automation/module.h"

#include <atomic>

namespace cvimp::com::module {

namespace {
std::atomic<HMODULE> handle{nullptr};
std::atomic<long> objects{0};
std::atomic<long> locks{0};
}  // namespace

void SetHandle(HMODULE h) { handle = h; }

HMODULE Handle() {
  HMODULE h = handle;
  return h ? h : ::GetModuleHandleW(nullptr);
}

void AddObject() { ++objects; }
void ReleaseObject() { --objects; }
void Lock() { ++locks; }
void Unlock() { --locks; }
long ObjectCount() { return objects; }
long LockCount() { return locks; }
bool CanUnload() { return objects == 0 && locks == 0; }

}  // namespace cvimp::com::module
