#include "privileges/CapableThreads.h"

#include "base/Capabilities.h"

#include <QLoggingCategory>
#include <system_error>
#include <unistd.h>

namespace vantrel {

namespace {

Q_LOGGING_CATEGORY(lcPrivileges, "vantrel.privileges")

// Shown by ps -L and top -H, at most fifteen letters.
constexpr auto keeperName = "vantrel-keeper";
constexpr auto capableName = "vantrel-pcap";

void nameThisThread(const char* name) { ::pthread_setname_np(::pthread_self(), name); }

void putInForce(std::uint64_t kept) {
    if (const auto set = setCapabilities({.effective = kept, .permitted = kept}); !set) {
        qCWarning(lcPrivileges, "%s", qUtf8Printable(set.error().text())); // what needs them fails, and says so
    }
}

} // namespace

Expected<std::unique_ptr<CapableThreads>> CapableThreads::keep(std::uint64_t mask) {
    const auto given = capabilities();
    if (!given) {
        return tl::unexpected(given.error());
    }
    const std::uint64_t kept = ::geteuid() == 0 ? 0 : given->permitted & mask;
    std::unique_ptr<CapableThreads> threads(new CapableThreads(kept));
    if (::geteuid() == 0) {
        return threads;
    }
    Expected<void> outcome = setCapabilities({.permitted = kept});
    if (outcome && kept != 0) {
        try {
            threads->_keeper = std::thread([keeper = threads.get()] { keeper->carryOutOrders(); });
        } catch (const std::system_error& error) {
            outcome = failure(QStringLiteral("pthread_create"), QString::fromLocal8Bit(error.what()));
        }
    }
    if (const auto dropped = setCapabilities({}); !dropped) {
        return tl::unexpected(dropped.error());
    }
    return outcome.map([&threads] { return std::move(threads); });
}

CapableThreads::~CapableThreads() {
    {
        const std::lock_guard lock(_mutex);
        _ending = true;
    }
    _changed.notify_all();
    if (_keeper.joinable()) {
        _keeper.join();
    }
}

std::thread CapableThreads::start(std::function<void()> work) {
    if (_kept == 0) {
        return std::thread(std::move(work));
    }
    const std::lock_guard ordering(_ordering);
    Order order{.work = std::move(work), .made = {}};
    auto made = order.made.get_future();
    {
        const std::lock_guard lock(_mutex);
        _order = std::move(order);
    }
    _changed.notify_all();
    return made.get();
}

void CapableThreads::carryOutOrders() {
    nameThisThread(keeperName);
    while (auto order = nextOrder()) {
        try {
            order->made.set_value(std::thread([kept = _kept, work = std::move(order->work)] {
                nameThisThread(capableName);
                putInForce(kept);
                work();
            }));
        } catch (const std::system_error&) { // no thread could be made: it is thrown again where it was ordered
            order->made.set_exception(std::current_exception());
        }
    }
}

std::optional<CapableThreads::Order> CapableThreads::nextOrder() {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [this] { return _order || _ending; });
    return std::exchange(_order, std::nullopt);
}

} // namespace vantrel
