// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace oru::kadi::authlist::tool {

/// The first count bytes of a file, or all of a smaller one. Throws ToolError naming path.
std::string readFileBegin(const std::string& path, std::size_t count);

/// All bytes of a file, or of standard input for "-". Throws ToolError naming path.
std::string readFile(const std::string& path);

/// Writes a whole new file beside path and renames it over path, so that path holds its old bytes or the new ones. An
/// existing file keeps its mode; a special file, such as a pipe, is written to as it is. Throws ToolError naming path.
void replaceFile(const std::string& path, std::string_view bytes);

/// Creates a file with these bytes and flushes it to the device. Throws ToolError naming path; also when path exists.
void createFile(const std::string& path, std::string_view bytes, unsigned mode);

/// Flushes a file and its folder to the device.
void flushFile(const std::string& path);

}  // namespace oru::kadi::authlist::tool
