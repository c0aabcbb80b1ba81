// Serves the web page's files from one folder, with the headers that a browser needs. A file stays
// in memory until it changes. Thread of the loop only.
#pragma once

#include "redfish/http/message.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace redfish {

// Larger files are not served.
inline constexpr std::uintmax_t kMaxFileBytes = 8U << 20U;

// What a browser gets: entity tag and "no-cache", so that it asks each time but loads nothing
// twice; a policy that allows only the page's own files.
class StaticFiles {
public:
    // Empty: no file is served.
    explicit StaticFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // The file at a path, which begins with "/"; for a folder its "index.html". Nothing if there
    // is no such file or it lies outside of the folder; symbolic links are followed within it.
    //   acceptEncoding  with "gzip" a file of the same name and ".gz" is preferred
    std::optional<Response> find(const std::string& path, std::string_view acceptEncoding);

private:
    // A file in memory, as it was when it was read.
    struct Known {
        std::filesystem::file_time_type changed;
        std::uintmax_t size = 0;
        Text body;
        std::string entityTag;
    };

    // Reads the file unless it is known and unchanged; null if it cannot be served.
    const Known* load(const std::filesystem::path& file);
    // Whether the file exists and, with all links resolved, lies in the folder.
    bool isInside(const std::filesystem::path& file) const;

    std::filesystem::path folder_;
    // By path.
    std::map<std::string, Known> known_;
};

} // namespace redfish
