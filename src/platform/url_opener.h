// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QObject>

#include <optional>

namespace velmora
{

/// The default browser. Remembers the page that it could not open last, so that any window can say so.
class URLOpener : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Opens an http or https address; any other is refused. The token is the desktop's leave to take the focus, good
    /// for one window; empty for none. False when the address was refused or no browser could be started; a browser
    /// that gives up a moment later is told by unopened() only.
    bool open(const WebAddress &address, const QString &activationToken = {});

    /// The page that was to be opened last and was not; nothing after one that was, or forgetUnopened().
    [[nodiscard]] const std::optional<WebAddress> &unopened() const { return m_unopened; }
    void forgetUnopened() { setUnopened(std::nullopt); }

Q_SIGNALS:
    /// unopened() changed.
    void unopenedChanged();

protected:
    /// Starts the browser; false when that is impossible.
    virtual bool start(const WebAddress &address, const QString &activationToken) = 0;
    /// A browser that was started has not opened the page.
    void noteUnopened(const WebAddress &address) { setUnopened(address); }

private:
    void setUnopened(const std::optional<WebAddress> &address);

    std::optional<WebAddress> m_unopened;
};

} // namespace velmora
