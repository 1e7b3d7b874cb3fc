// The Windows and OLE Automation headers, included the one way every file of the Windows platform code
// includes them: without the min/max macros, and without the CopyFile macro, which would otherwise rename
// plugin::Platform::CopyFile in every file that sees it.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <dispex.h>
#include <ole2.h>
#include <oleauto.h>
#include <windows.h>

#undef CopyFile
