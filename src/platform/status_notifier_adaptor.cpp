// SPDX-License-Identifier: MIT
#include "platform/status_notifier_adaptor.h"

namespace velmora
{

StatusNotifierAdaptor::StatusNotifierAdaptor(
    QObject *exported, const StatusNotifierContent *content, QDBusObjectPath menu, Requests requests)
    : QDBusAbstractAdaptor(exported)
    , m_content(content)
    , m_menu(std::move(menu))
    , m_requests(std::move(requests))
{
    registerStatusNotifierTypes();
}

void StatusNotifierAdaptor::Activate(int x, int y)
{
    m_requests.activate({x, y});
}

void StatusNotifierAdaptor::SecondaryActivate(int x, int y)
{
    m_requests.activate({x, y});
}

void StatusNotifierAdaptor::ContextMenu(int x, int y)
{
    m_requests.activate({x, y});
}

void StatusNotifierAdaptor::Scroll(int, const QString &)
{
    // Nothing to scroll, but without this method hosts would log an error for every turn of the wheel.
}

void StatusNotifierAdaptor::ProvideXdgActivationToken(const QString &token)
{
    m_requests.provideToken(token);
}

} // namespace velmora
