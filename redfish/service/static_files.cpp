#include "redfish/service/static_files.h"

#include "redfish/http/entity_tag.h"
#include "redfish/http/media_type.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <system_error>

namespace redfish {

namespace {

namespace fs = std::filesystem;

// Only the page's own files and requests; no inline scripts or styles.
constexpr const char* kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; font-src 'self'; "
    "connect-src 'self'; manifest-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";

} // namespace

bool StaticFiles::isInside(const fs::path& file) const {
    std::error_code failure;
    const fs::path real = fs::canonical(file, failure);
    const fs::path root = failure ? fs::path{} : fs::canonical(folder_, failure);
    return !failure &&
           std::mismatch(root.begin(), root.end(), real.begin(), real.end()).first == root.end();
}

const StaticFiles::Known* StaticFiles::load(const fs::path& file) {
    std::error_code failure;
    const fs::file_time_type changed = fs::last_write_time(file, failure);
    const std::uintmax_t size = failure ? 0 : fs::file_size(file, failure);
    if (failure || size > kMaxFileBytes || !fs::is_regular_file(file, failure)) {
        return nullptr;
    }
    Known& known = known_[file.string()];
    if (known.body && known.changed == changed && known.size == size) {
        return &known;
    }
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    known.body = makeText(std::move(text).str());
    known.entityTag = entityTag(*known.body);
    known.changed = changed;
    known.size = size;
    return &known;
}

std::optional<Response> StaticFiles::find(const std::string& path,
                                          std::string_view acceptEncoding) {
    if (folder_.empty()) {
        return std::nullopt;
    }
    fs::path file = folder_ / path.substr(1);
    std::error_code failure;
    if (fs::is_directory(file, failure)) {
        file /= "index.html";
    }
    if (!isInside(file)) {
        return std::nullopt;
    }
    const fs::path packed = file.string() + ".gz";
    const bool takesPacked = acceptEncoding.find("gzip") != std::string_view::npos;
    const Known* known = takesPacked && isInside(packed) ? load(packed) : nullptr;
    const bool isPacked = known != nullptr;
    known = isPacked ? known : load(file);
    if (known == nullptr) {
        return std::nullopt;
    }
    Response response{.status = 200,
                      .headers = {{"ETag", known->entityTag},
                                  {"Vary", "Accept-Encoding"},
                                  {"Cache-Control", "no-cache"},
                                  {"X-Content-Type-Options", "nosniff"},
                                  {"Referrer-Policy", "no-referrer"},
                                  {"Content-Security-Policy", kPolicy}},
                      .contentType = typeOfExtension(file.extension().string()),
                      .body = known->body,
                      .feed = nullptr};
    if (isPacked) {
        response.headers.emplace_back("Content-Encoding", "gzip");
    }
    return response;
}

} // namespace redfish
