#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/Variant.h"

namespace vorn {

// Passes property changes from a setter to listeners. Each listener takes a
// number from GetID to name itself as the sink of a change; a change is
// raised to every subscriber with the sink's number, the property name and
// the value, which a subscriber may change for the caller.
class CEventPump {
public:
    using Handler =
        std::function<void(std::int32_t plEventSinkID, const std::string& psPropertyName, Variant& pvValue)>;
    using SubscriptionId = std::int32_t;

    // 1, 2, 3 and so on: one number for each listener.
    std::int32_t GetID() { return ++lastId_; }

    // The host's side of the PropertyValueChanged event. Handlers run in the
    // order of subscription.
    SubscriptionId Subscribe(Handler handler);
    void Unsubscribe(SubscriptionId id);

    // Raises PropertyValueChanged with the three values.
    void PropertyValueChanged(std::int32_t plEventSinkID, std::string_view psPropertyName, Variant& pvValue);

private:
    struct Subscription {
        SubscriptionId id;
        std::shared_ptr<const Handler> handler;
    };

    std::int32_t lastId_ = 0;
    SubscriptionId nextSubscription_ = 1;
    std::vector<Subscription> subscriptions_;
};

}  // namespace vorn
