// SPDX-License-Identifier: MIT
#pragma once

// Only for source files that code records which contain these.

#include "control/listed_records.h"
#include "support/json_coding.h"

namespace velmora
{

template <>
struct JSONTable<ListedAccount> {
    using Record = ListedAccount;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::required("login", &Record::login), json::required("status", &Record::status),
        json::optional("avatarURL", &Record::avatarURL), json::optional("advice", &Record::advice)};
};

template <>
struct JSONTable<ListedInstallation> {
    using Record = ListedInstallation;
    static constexpr auto fields = std::tuple{json::required("key", &Record::key),
        json::required("identity", &Record::identity), json::required("account", &Record::account),
        json::required("type", &Record::type), json::required("repositorySelection", &Record::repositorySelection),
        json::required("enabled", &Record::isEnabled), json::required("suspended", &Record::isSuspended)};
};

template <>
struct JSONTable<ListedRepository> {
    using Record = ListedRepository;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id), json::required("name", &Record::name),
        json::required("url", &Record::url), json::required("private", &Record::isPrivate),
        json::required("installation", &Record::installation), json::required("account", &Record::account),
        json::required("included", &Record::isIncluded), json::required("monitored", &Record::isMonitored)};
};

} // namespace velmora
