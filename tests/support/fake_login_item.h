// SPDX-License-Identifier: MIT
#pragma once

#include "platform/login_item.h"
#include "support/one_shot.h"

#include <QStringList>

#include <deque>

namespace velmora::testing
{

/// A start at login in memory, which can be made to fail.
class FakeLoginItem final : public LoginItem
{
public:
    [[nodiscard]] LoginItemStatus status() const override { return current; }
    [[nodiscard]] QCoro::Task<> registerItem() override
    {
        return perform(QStringLiteral("register"), LoginItemStatus::Enabled);
    }
    [[nodiscard]] QCoro::Task<> unregisterItem() override
    {
        return perform(QStringLiteral("unregister"), LoginItemStatus::Disabled);
    }

    LoginItemStatus current = LoginItemStatus::Disabled;
    QStringList calls; ///< "register" and "unregister", in order
    std::exception_ptr failure; ///< thrown by every call, which then changes nothing
    std::deque<OneShot<>> gates; ///< each call waits for the next of these, if there is one

private:
    QCoro::Task<> perform(QString call, LoginItemStatus outcome)
    {
        calls.append(call);
        if (!gates.empty()) {
            const OneShot<> gate = gates.front();
            gates.pop_front();
            co_await gate;
        }
        if (failure)
            std::rethrow_exception(failure);
        current = outcome;
    }
};

} // namespace velmora::testing
