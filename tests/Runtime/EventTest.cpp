#include "qm/Runtime/Event.h"
#include "qm/Runtime/PropertyEvent.h"

#include "Platform/Com/LastError.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
struct Sender final : ObjectBase
{
};
} // namespace

TEST(PropertyEvent, HandlersRunEarlyFirstThenInAddressOrderAndMayUnsubscribeDuringAFire)
{
    using Changed = MVVM::PropertyEvent<const std::u16string&, int>;
    Changed event;
    std::vector<std::string> calls;
    Changed::Handler handlers[3];
    for (int i = 0; i < 3; ++i)
        handlers[i] = [&calls, i](Object*, const std::u16string&, int value) {
            calls.push_back(std::to_string(i) + ":" + std::to_string(value));
        };
    // The last one removes the first from inside the fire.
    Changed::Handler remover = [&](Object*, const std::u16string&, int) {
        calls.push_back("remover");
        event.Unsubscribe(&handlers[0]);
        event.Unsubscribe(&remover);
    };
    event.Subscribe(&handlers[2], false);
    event.Subscribe(&handlers[0], false);
    event.Subscribe(&handlers[1], true);
    event.Subscribe(&remover, true);
    EXPECT_THROW(event.Subscribe(&handlers[2], false), MVVM::check_failed);
    event.Subscribe(&handlers[2], true); // once in each set: it runs twice

    Sender sender;
    event.Fire(&sender, u"x", 7);
    // The early set ran first (addresses ascend in the array); handlers[0] was removed
    // before the ordinary set was copied, so it did not run.
    std::vector<std::string> earlyAndOrdinary = calls;
    // The remover's place among the early handlers depends on its address.
    std::erase(earlyAndOrdinary, "remover");
    EXPECT_EQ((std::vector<std::string>{"1:7", "2:7", "2:7"}), earlyAndOrdinary);
    EXPECT_EQ(4u, calls.size());

    calls.clear();
    event.Unsubscribe(&handlers[2]); // from both sets at once
    event.Unsubscribe(&handlers[0]); // never there any more: nothing happens
    event.Fire(nullptr, u"y", 1);
    EXPECT_EQ((std::vector<std::string>{"1:1"}), calls);
    EXPECT_THROW(event.Subscribe(nullptr, true), MVVM::check_failed);
    EXPECT_THROW(event.Unsubscribe(nullptr), MVVM::check_failed);
}

TEST(Event, SubscriptionRulesAndFire)
{
    MVVM::Event event;
    int fired = 0;
    MVVM::Event::Handler handler = [&](Object*) { ++fired; };
    MVVM::Event::Handler empty;
    SetLastError(ERROR_ACCESS_DENIED);
    try
    {
        event.Subscribe(&empty, false);
        FAIL() << "an empty handler was taken";
    }
    catch (const MVVM::check_failed& error)
    {
        EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), error.LastError());
    }
    event.Subscribe(&handler, false);
    event.Subscribe(&handler, true);
    event.Fire(nullptr);
    EXPECT_EQ(2, fired);
    event.Unsubscribe(&handler);
    event.Fire(nullptr);
    EXPECT_EQ(2, fired);

    Sender sender, other;
    EXPECT_TRUE(sender.Equals(&sender));
    EXPECT_FALSE(sender.Equals(&other));
    EXPECT_NE(std::u16string::npos, sender.ToString().find(u"Sender"));
}
