// SPDX-License-Identifier: MIT
#pragma once

#include "support/web_address.h"

#include <QObject>

#include <optional>

namespace velmora
{

/// Opens pages in the default browser. Remembers the last page that could not be opened, so that any window can show
/// it.
class URLOpener : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Opens an http or https address; refuses others. The token is the desktop's permission to take the focus, valid
    /// for one window, or empty. False if the address was refused or no browser could be started. If a browser fails a
    /// moment later, only unopened() reports it.
    bool open(const WebAddress &address, const QString &activationToken = {});

    /// The page of the last open(), if that failed; nullopt after a success or forgetUnopened().
    [[nodiscard]] const std::optional<WebAddress> &unopened() const { return m_unopened; }
    void forgetUnopened() { setUnopened(std::nullopt); }

Q_SIGNALS:
    /// unopened() changed.
    void unopenedChanged();

protected:
    /// Starts the browser. Returns false if that is impossible.
    virtual bool start(const WebAddress &address, const QString &activationToken) = 0;
    /// Call it if a started browser has not opened the page.
    void recordUnopened(const WebAddress &address) { setUnopened(address); }

private:
    void setUnopened(const std::optional<WebAddress> &address);

    std::optional<WebAddress> m_unopened;
};

} // namespace velmora
