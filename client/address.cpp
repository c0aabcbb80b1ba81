#include "client/address.h"

#include "client/errors.h"

namespace client {

Address parseAddress(const std::string& text) {
    try {
        return redis::parseAddress(text);
    } catch (const redis::InvalidAddress& error) {
        throw InvalidArgument("store address \"" + text + "\": " + error.what() +
                              "; write unix:PATH or tcp:HOST:PORT");
    }
}

Address chooseAddress(const std::string& given) {
    return parseAddress(given.empty() ? redis::configuredAddress() : given);
}

} // namespace client
