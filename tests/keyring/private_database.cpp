// SPDX-License-Identifier: MIT
#include "private_database.h"

namespace velmora::testing
{

namespace
{

QString database()
{
    return qEnvironmentVariable("VELMORA_DATABASE");
}

} // namespace

PrivateDatabase::PrivateDatabase()
    : PrivateProvider(QStringLiteral("keepassxc"), QStringLiteral("^Unlock Database"))
{
}

void PrivateDatabase::start()
{
    launch({QStringLiteral("--pw-stdin"), database()}, password() + '\n');
    blockUntil([] { return hasCollection(false); }, "KeePassXC did not open the database");
}

void PrivateDatabase::startLocked()
{
    launch({database()});
    blockUntil([] { return hasCollection(true); }, "KeePassXC did not offer the database");
}

} // namespace velmora::testing
