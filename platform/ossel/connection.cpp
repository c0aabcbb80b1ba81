#include "platform/ossel/connection.h"

#include "platform/ossel/complaints.h"

namespace ossel {

bool reconnect(redisContext& context) {
    if (context.connection.open(context.address, redis::Clock::now() + redis::kTimeout)) {
        return true;
    }
    const std::string address = context.address.text();
    complainOfOutage(address,
                     "cannot reach redis at " + address + ": " + context.connection.reason());
    return false;
}

std::unique_ptr<redisContext> openContext(const redis::Address& address) {
    auto context = std::make_unique<redisContext>();
    context->address = address;
    return reconnect(*context) ? std::move(context) : nullptr;
}

bool makeReady(redisContext& context) {
    return context.connection.isQuiet() || reconnect(context);
}

void complainOfLoss(const redisContext& context) {
    const std::string address = context.address.text();
    complainOfOutage(address, "lost redis at " + address + ": " + context.connection.reason());
}

} // namespace ossel
