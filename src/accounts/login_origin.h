// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>

namespace velmora
{

/// The GitHub host of accounts: scheme, host and port of its login endpoint.
///
/// Tokens, the list of accounts, the user's choices for them and the saved deployments are filed by origin. Thus a
/// token is never sent to another host than its issuer, and equal ids on two hosts stay apart. github.com uses plain
/// names; the names of other origins contain their text.
class LoginOrigin
{
public:
    /// https://github.com
    [[nodiscard]] static LoginOrigin gitHub();

    /// The origin of the login endpoint, ignoring its path.
    explicit LoginOrigin(const QUrl &login);

    [[nodiscard]] bool isGitHub() const { return *this == gitHub(); }

    /// For instance "https://ghe.example.com:8443"; without the default port of the scheme.
    [[nodiscard]] const QString &text() const { return m_text; }

    /// The service name of the credentials in the keyring.
    [[nodiscard]] QString keychainService() const;

    /// The preference key of the origin's value of `key`.
    [[nodiscard]] QString preferenceKey(const QString &key) const;

    /// The folder of the origin's files within `folder`, empty if `folder` is.
    [[nodiscard]] QString folderIn(const QString &folder) const;

    friend bool operator==(const LoginOrigin &, const LoginOrigin &) = default;

private:
    QString m_text;
    QString m_folderName;
};

} // namespace velmora
