// A fresh folder for one test, removed with all its contents at the end.
#pragma once

#include <filesystem>
#include <string>

namespace test {

class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// Whole text of a file; empty when it cannot be read.
std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& text);

} // namespace test
