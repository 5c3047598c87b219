// SPDX-License-Identifier: MIT
#include "control/control_coding.h"

#include "control/listed_records_coding.h"
#include "model/deployment_snapshot_coding.h"

namespace velmora
{

namespace json
{

template <>
struct Codec<DeploymentMonitorState::Case> {
    using Case = DeploymentMonitorState::Case;
    static void decode(Case &value, Element element, const Path &path)
    {
        QString text;
        Codec<QString>::decode(text, element, path);
        for (const Case state : {Case::Loading, Case::Ready, Case::Stale, Case::RateLimited, Case::Disconnected}) {
            if (rawValue(state) == text) {
                value = state;
                return;
            }
        }
        failExpected(path, "a state of the monitor");
    }
    static void encode(Writer &writer, Case value) { Codec<QString>::encode(writer, rawValue(value)); }
};

template <>
struct Codec<MissingStep> {
    static void decode(MissingStep &value, Element element, const Path &path)
    {
        QString text;
        Codec<QString>::decode(text, element, path);
        for (const MissingStep step :
            {MissingStep::Account, MissingStep::Installation, MissingStep::Access, MissingStep::Selection}) {
            if (rawValue(step) == text) {
                value = step;
                return;
            }
        }
        failExpected(path, "a step that is missing");
    }
    static void encode(Writer &writer, MissingStep value) { Codec<QString>::encode(writer, rawValue(value)); }
};

template <>
struct Codec<ReportOrigin> {
    static void decode(ReportOrigin &value, Element element, const Path &path)
    {
        bool isSaved = false;
        Codec<bool>::decode(isSaved, element, path);
        value = isSaved ? ReportOrigin::Saved : ReportOrigin::Live;
    }
    static void encode(Writer &writer, ReportOrigin value) { writer.Bool(value == ReportOrigin::Saved); }
};

} // namespace json

template <>
struct JSONTable<RemovalAnswer> {
    using Record = RemovalAnswer;
    static constexpr auto fields = std::tuple{json::required("login", &Record::login),
        json::required("refusal", &Record::refusal), json::optional("unsaved", &Record::unsaved)};
};

template <>
struct JSONTable<LoadingAnswer> {
    using Record = LoadingAnswer;
    static constexpr auto fields = std::tuple{json::required("hasAccounts", &Record::hasAccounts),
        json::required("complete", &Record::isComplete), json::required("messages", &Record::messages)};
};

template <>
struct JSONTable<InstallationsAnswer> {
    using Record = InstallationsAnswer;
    static constexpr auto fields
        = std::tuple{json::required("loading", &Record::loading), json::required("refusal", &Record::refusal),
            json::optional("unsaved", &Record::unsaved), json::required("installations", &Record::installations),
            json::required("installationURL", &Record::installationURL)};
};

template <>
struct JSONTable<RepositoriesAnswer> {
    using Record = RepositoriesAnswer;
    static constexpr auto fields
        = std::tuple{json::required("loading", &Record::loading), json::required("refusal", &Record::refusal),
            json::optional("unsaved", &Record::unsaved), json::required("repositories", &Record::repositories),
            json::required("installationURL", &Record::installationURL)};
};

template <>
struct JSONTable<DeploymentMonitorState> {
    using Record = DeploymentMonitorState;
    static constexpr auto fields = std::tuple{json::required("case", &Record::state),
        json::required("hasContent", &Record::hasContent), json::optional("lastUpdatedAt", &Record::lastUpdatedAt),
        json::optional("resumeAt", &Record::resumeAt), json::optional("missing", &Record::missing)};
};

template <>
struct JSONTable<MonitorReport> {
    using Record = MonitorReport;
    static constexpr auto fields
        = std::tuple{json::required("saved", &Record::origin), json::required("application", &Record::applicationName),
            json::required("state", &Record::state), json::required("deployments", &Record::deployments),
            json::optional("lastRefreshedAt", &Record::lastRefreshedAt), json::required("message", &Record::message),
            json::optional("unsaved", &Record::unsaved), json::required("hint", &Record::hint),
            json::optional("savedAt", &Record::savedAt)};
};

template <>
struct JSONTable<DeploymentNotification> {
    using Record = DeploymentNotification;
    static constexpr auto fields = std::tuple{json::required("title", &Record::title),
        json::required("subtitle", &Record::subtitle), json::required("body", &Record::body),
        json::required("url", &Record::url), json::required("identifier", &Record::identifier)};
};

template QList<ListedAccount> decodeJSON(QByteArrayView);
template RemovalAnswer decodeJSON(QByteArrayView);
template QByteArray encodeJSON(const RemovalAnswer &);
template LoadingAnswer decodeJSON(QByteArrayView);
template QByteArray encodeJSON(const LoadingAnswer &);
template InstallationsAnswer decodeJSON(QByteArrayView);
template QByteArray encodeJSON(const InstallationsAnswer &);
template RepositoriesAnswer decodeJSON(QByteArrayView);
template QByteArray encodeJSON(const RepositoriesAnswer &);
template MonitorReport decodeJSON(QByteArrayView);
template QByteArray encodeJSON(const MonitorReport &);
template DeploymentNotification decodeJSON(QByteArrayView);
template QByteArray encodeJSON(const DeploymentNotification &);

} // namespace velmora
