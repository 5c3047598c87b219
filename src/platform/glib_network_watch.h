// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QObject>

#include <memory>

namespace velmora
{

/// The events of GLib's network monitor: addresses, routes or networks came or went. Works with and without
/// NetworkManager, unlike Qt's own monitor.
///
/// Needs an event loop that runs GLib's main context, like Qt's on Linux; otherwise emits nothing.
class GLibNetworkWatch final : public QObject
{
    Q_OBJECT

public:
    explicit GLibNetworkWatch(QObject *parent = nullptr);
    ~GLibNetworkWatch() override;

    /// Begins to watch. The first monitor of a process calls services of the desktop, which may be slow. Therefore it
    /// is created on another thread; the task ends after that.
    [[nodiscard]] QCoro::Task<> start();

Q_SIGNALS:
    /// The network has changed. `isAvailable`: whether there is any.
    void networkChanged(bool isAvailable);

private:
    class Subscription;
    std::unique_ptr<Subscription> m_subscription;
};

} // namespace velmora
