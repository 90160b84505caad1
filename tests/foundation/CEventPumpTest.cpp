#include "foundation/CEventPump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorn {
namespace {

TEST(CEventPump, GetIDHandsOutOneNumberAListenerFromOne) {
    CEventPump pump;
    EXPECT_EQ(pump.GetID(), 1);
    EXPECT_EQ(pump.GetID(), 2);
    EXPECT_EQ(pump.GetID(), 3);
    CEventPump other;
    EXPECT_EQ(other.GetID(), 1) << "each pump counts its own listeners";
}

TEST(CEventPump, ChangesReachEverySubscriberInOrderAndTheyMayChangeTheValue) {
    CEventPump pump;
    std::vector<std::string> heard;
    pump.Subscribe([&](std::int32_t sink, const std::string& name, Variant& value) {
        heard.push_back("first " + std::to_string(sink) + " " + name + " " + value.AsText());
        value = Variant("C:/Projects/B.vpj");
    });
    const auto second = pump.Subscribe([&](std::int32_t sink, const std::string& name, Variant& value) {
        heard.push_back("second " + std::to_string(sink) + " " + name + " " + value.AsText());
    });

    Variant path("C:/Projects/A.vpj");
    pump.PropertyValueChanged(2, "ProjectPath", path);
    EXPECT_EQ(heard, (std::vector<std::string>{"first 2 ProjectPath C:/Projects/A.vpj",
                                               "second 2 ProjectPath C:/Projects/B.vpj"}));
    EXPECT_EQ(path, Variant("C:/Projects/B.vpj")) << "the value is in/out";

    pump.Unsubscribe(second);
    heard.clear();
    pump.PropertyValueChanged(1, "Silent", path);
    EXPECT_EQ(heard.size(), 1u);
}

TEST(CEventPump, AChangeWithoutSubscribersLeavesTheValue) {
    CEventPump pump;
    Variant value(std::int32_t{7});
    pump.PropertyValueChanged(pump.GetID(), "Count", value);
    EXPECT_EQ(value, Variant(std::int32_t{7}));
}

}  // namespace
}  // namespace vorn
