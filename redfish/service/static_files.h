// The files of the web page, from one folder. What was read is kept until the file changes.
// Thread of the connections only.
#pragma once

#include "redfish/http/message.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace redfish {

inline constexpr std::uintmax_t kLargestFile = 8U << 20U;

class StaticFiles {
public:
    // An empty folder: there are none.
    explicit StaticFiles(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // The file of a path, "index.html" for a folder; with "gzip" accepted the file of the same
    // name and ".gz" where there is one. Nothing where there is no such file, and for whatever
    // leads out of the folder: symbolic links are followed only within it.
    std::optional<Response> find(const std::string& path, std::string_view acceptEncoding);

private:
    struct Known {
        std::filesystem::file_time_type changed;
        std::uintmax_t size = 0;
        Text body;
        std::string entityTag;
    };

    const Known* load(const std::filesystem::path& file);
    bool isInside(const std::filesystem::path& file) const;

    std::filesystem::path folder_;
    std::map<std::string, Known> known_;
};

} // namespace redfish
