// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>

#include <utility>

namespace velmora
{

/// An address as it was received. It is kept as text and parsed only on demand, since a list of deployments holds tens
/// of thousands of addresses of which the user opens a handful. Equality compares the text.
class WebAddress
{
public:
    WebAddress() = default;
    explicit WebAddress(QString text)
        : m_text(std::move(text))
    {
    }

    [[nodiscard]] const QString &text() const { return m_text; }
    [[nodiscard]] bool isEmpty() const { return m_text.isEmpty(); }
    [[nodiscard]] QUrl url() const { return QUrl(m_text, QUrl::StrictMode); }

    /// Whether this is an absolute http or https address with a host. Only such addresses are opened, since any author
    /// of a deployment can write any address into it.
    [[nodiscard]] bool isOpenable() const;

    /// This address with one more path component, without query and fragment.
    [[nodiscard]] WebAddress appendingPathComponent(const QString &component) const;

    friend bool operator==(const WebAddress &, const WebAddress &) = default;

private:
    QString m_text;
};

} // namespace velmora
