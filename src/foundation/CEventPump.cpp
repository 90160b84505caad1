#include "foundation/CEventPump.h"

namespace vorn {

CEventPump::SubscriptionId CEventPump::Subscribe(Handler handler) {
    const SubscriptionId id = nextSubscription_++;
    subscriptions_.push_back({id, std::make_shared<const Handler>(std::move(handler))});
    return id;
}

void CEventPump::Unsubscribe(SubscriptionId id) {
    std::erase_if(subscriptions_, [id](const Subscription& s) { return s.id == id; });
}

void CEventPump::PropertyValueChanged(std::int32_t plEventSinkID, std::string_view psPropertyName,
                                      Variant& pvValue) {
    // A handler may subscribe or unsubscribe; call the ones present now.
    std::vector<std::shared_ptr<const Handler>> handlers;
    handlers.reserve(subscriptions_.size());
    for (const Subscription& s : subscriptions_) handlers.push_back(s.handler);
    const std::string name(psPropertyName);
    for (const auto& handler : handlers) (*handler)(plEventSinkID, name, pvValue);
}

}  // namespace vorn
