// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/avatar_loading.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QMap>
#include <QStringList>

#include <deque>

namespace velmora::testing
{

/// Serves pictures by address; fails for others.
class FakeAvatarLoading final : public AvatarLoading
{
public:
    [[nodiscard]] QCoro::Task<std::optional<QByteArray>> load(WebAddress address, std::stop_token stop) override
    {
        asked.append(address.text());
        stops.push_back(stop);
        if (isHolding) {
            const OneShot<> held;
            m_held.push_back(held);
            co_await held;
        }
        if (stop.stop_requested())
            throw CancellationError();
        std::optional<QByteArray> found;
        if (pictures.contains(address.text()))
            found = pictures.value(address.text());
        co_return found;
    }

    /// Resumes all waiting loads.
    void release()
    {
        const auto held = std::exchange(m_held, {});
        for (const auto &one : held)
            one.resolve();
    }

    QMap<QString, QByteArray> pictures;
    QStringList asked; ///< the requested addresses, in order
    std::deque<std::stop_token> stops; ///< one for each request
    bool isHolding = false; ///< answers wait for release()

private:
    std::deque<OneShot<>> m_held;
};

} // namespace velmora::testing
