// Files named by UTF-8 paths. The core keeps every text, paths included, in UTF-8; the narrow C library
// calls and std::filesystem::path's narrow constructor read a path in the system's own narrow encoding,
// which on Windows is the ANSI code page and not UTF-8. Everything that opens, creates or removes a file,
// or builds a std::filesystem::path from a path given as text, goes through these functions.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace cvimp {

// The path that the UTF-8 text names.
std::filesystem::path PathFromUtf8(std::string_view utf8_path);

// The UTF-8 text of a path (the reverse of PathFromUtf8).
std::string Utf8FromPath(const std::filesystem::path& path);

// std::fopen with a UTF-8 path; `mode` as std::fopen takes it. Null with errno set when it cannot be opened.
std::FILE* OpenFile(const std::string& utf8_path, const char* mode);

// Creates a new file for writing in binary and opens it, in one step that never overwrites: null, with
// errno EEXIST, when anything is at the path already, and null with another errno when it cannot be created.
std::FILE* CreateNewFile(const std::string& utf8_path);

// Removes a file; false when it could not be removed.
bool RemoveFile(const std::string& utf8_path);

}  // namespace cvimp
