// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace oru::kadi::authlist::test {

/// A fresh folder for one test; it goes, with all that is in it, when the object does.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "authlist-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed: " + pattern);
        mPath = pattern;
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    const std::filesystem::path& path() const { return mPath; }

    /// The path of a file of this name in the folder; the file is not created.
    std::string file(const std::string& name) const { return (mPath / name).string(); }

private:
    std::filesystem::path mPath;
};

}  // namespace oru::kadi::authlist::test
