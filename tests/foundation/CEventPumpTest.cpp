#include "foundation/CEventPump.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorn {
namespace {

TEST(CEventPump, EachPumpNumbersItsOwnListenersFromOne) {
    CEventPump pump;
    EXPECT_EQ(pump.GetID(), 1);
    EXPECT_EQ(pump.GetID(), 2);
    EXPECT_EQ(CEventPump().GetID(), 1);
}

TEST(CEventPump, ChangesReachEverySubscriberInOrderAndTheyMayChangeTheValue) {
    CEventPump pump;
    std::vector<std::string> heard;
    pump.Subscribe([&](std::int32_t sink, const std::string& name, Variant& value) {
        heard.push_back("first " + std::to_string(sink) + " " + name + " " + value.AsText());
        value = Variant("C:/Projects/B.vpj");
    });
    const auto second = pump.Subscribe([&](std::int32_t, const std::string&, Variant& value) {
        heard.push_back("second " + value.AsText());
    });

    Variant path("C:/Projects/A.vpj");
    pump.PropertyValueChanged(2, "ProjectPath", path);
    EXPECT_EQ(heard, (std::vector<std::string>{"first 2 ProjectPath C:/Projects/A.vpj", "second C:/Projects/B.vpj"}));
    EXPECT_EQ(path, Variant("C:/Projects/B.vpj")) << "the value is in/out";

    pump.Unsubscribe(second);
    heard.clear();
    pump.PropertyValueChanged(1, "Silent", path);
    EXPECT_EQ(heard.size(), 1u);
}

}  // namespace
}  // namespace vorn
