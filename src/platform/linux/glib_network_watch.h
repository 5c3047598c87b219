// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QObject>

#include <memory>

namespace velmora
{

/// What GLib's network monitor tells: an address, a route or a whole network came or went. It works with
/// and without NetworkManager, where Qt's own keeps silent.
///
/// Needs an event loop that runs GLib's main context, as Qt's does on Linux; with another one it keeps quiet.
class GLibNetworkWatch final : public QObject
{
    Q_OBJECT

public:
    explicit GLibNetworkWatch(QObject *parent = nullptr);
    ~GLibNetworkWatch() override;

    /// Begins to watch. The first monitor of a process asks the desktop's services, which may take their time; that
    /// happens on another thread, and the task ends when it is done.
    [[nodiscard]] QCoro::Task<> start();

Q_SIGNALS:
    /// The network is another one than before; whether there is any.
    void networkChanged(bool isAvailable);

private:
    class Subscription;
    std::unique_ptr<Subscription> m_subscription;
};

} // namespace velmora
