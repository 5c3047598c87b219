// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>

namespace velmora
{

/// The GitHub at which accounts are connected: scheme, host and port of its login endpoint.
///
/// Tokens, the list of accounts, what the user chose for them and the saved deployments are filed under the origin, so
/// that a token is never sent to another host than the one that issued it, and equal ids on two hosts stay apart.
/// github.com has the plain names; those of every other origin carry its text.
class LoginOrigin
{
public:
    /// https://github.com
    [[nodiscard]] static LoginOrigin gitHub();

    /// The origin of the login endpoint, whatever its path.
    explicit LoginOrigin(const QUrl &login);

    [[nodiscard]] bool isGitHub() const { return *this == gitHub(); }

    /// For instance "https://ghe.example.com:8443"; without the port that the scheme implies.
    [[nodiscard]] const QString &text() const { return m_text; }

    /// What the keyring files the credentials under.
    [[nodiscard]] QString keychainService() const;

    /// The key under which the preferences hold the origin's value of `key`.
    [[nodiscard]] QString preferenceKey(const QString &key) const;

    /// The folder of the origin's files within `folder`; empty when that is.
    [[nodiscard]] QString folderIn(const QString &folder) const;

    friend bool operator==(const LoginOrigin &, const LoginOrigin &) = default;

private:
    QString m_text;
    QString m_folderName;
};

} // namespace velmora
