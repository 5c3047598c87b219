// SPDX-License-Identifier: MIT
#include "simulator/rest_shapes.h"

#include <QJsonArray>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

QString root(const QUrl &web)
{
    return web.toString(QUrl::StripTrailingSlash);
}

// In GitHub's answers these two times have milliseconds and an offset, unlike all others.
constexpr auto kInstalledAt = "2025-06-21T17:39:33.000+03:00"_L1;
constexpr auto kInstallationChangedAt = "2026-01-14T09:05:12.000+02:00"_L1;

QJsonObject enterprise(const Owner &owner, const QString &host)
{
    return {{u"id"_s, owner.id}, {u"node_id"_s, u"E_kgDOAAAB"_s}, {u"name"_s, owner.name}, {u"slug"_s, owner.login},
        {u"html_url"_s, host + "/enterprises/"_L1 + owner.login}, {u"description"_s, QJsonValue::Null},
        {u"website_url"_s, QJsonValue::Null}, {u"created_at"_s, u"2024-02-03T10:11:12Z"_s},
        {u"updated_at"_s, u"2024-02-03T10:11:12Z"_s}, {u"avatar_url"_s, host + "/avatars/b/1"_L1}};
}

QJsonValue accountOf(const World &world, const Installation &installation, const QUrl &web)
{
    const Owner &owner = world.owners()[installation.owner];
    switch (installation.oddity) {
    case AccountOddity::Null:
        return QJsonValue::Null;
    case AccountOddity::Enterprise:
        return enterprise(owner, root(web));
    case AccountOddity::None:
        break;
    }
    return simpleUser(owner, web);
}

// Addresses below that of the repository, in GitHub's template notation.
constexpr std::pair<QLatin1StringView, QLatin1StringView> kRepositoryAddresses[] = {
    {"archive_url"_L1, "/{archive_format}{/ref}"_L1}, {"assignees_url"_L1, "/assignees{/user}"_L1},
    {"blobs_url"_L1, "/git/blobs{/sha}"_L1}, {"branches_url"_L1, "/branches{/branch}"_L1},
    {"collaborators_url"_L1, "/collaborators{/collaborator}"_L1}, {"comments_url"_L1, "/comments{/number}"_L1},
    {"commits_url"_L1, "/commits{/sha}"_L1}, {"compare_url"_L1, "/compare/{base}...{head}"_L1},
    {"contents_url"_L1, "/contents/{+path}"_L1}, {"contributors_url"_L1, "/contributors"_L1},
    {"deployments_url"_L1, "/deployments"_L1}, {"downloads_url"_L1, "/downloads"_L1}, {"events_url"_L1, "/events"_L1},
    {"forks_url"_L1, "/forks"_L1}, {"git_commits_url"_L1, "/git/commits{/sha}"_L1},
    {"git_refs_url"_L1, "/git/refs{/sha}"_L1}, {"git_tags_url"_L1, "/git/tags{/sha}"_L1}, {"hooks_url"_L1, "/hooks"_L1},
    {"issue_comment_url"_L1, "/issues/comments{/number}"_L1}, {"issue_events_url"_L1, "/issues/events{/number}"_L1},
    {"issues_url"_L1, "/issues{/number}"_L1}, {"keys_url"_L1, "/keys{/key_id}"_L1},
    {"labels_url"_L1, "/labels{/name}"_L1}, {"languages_url"_L1, "/languages"_L1}, {"merges_url"_L1, "/merges"_L1},
    {"milestones_url"_L1, "/milestones{/number}"_L1},
    {"notifications_url"_L1, "/notifications{?since,all,participating}"_L1}, {"pulls_url"_L1, "/pulls{/number}"_L1},
    {"releases_url"_L1, "/releases{/id}"_L1}, {"stargazers_url"_L1, "/stargazers"_L1},
    {"statuses_url"_L1, "/statuses/{sha}"_L1}, {"subscribers_url"_L1, "/subscribers"_L1},
    {"subscription_url"_L1, "/subscription"_L1}, {"tags_url"_L1, "/tags"_L1}, {"teams_url"_L1, "/teams"_L1},
    {"trees_url"_L1, "/git/trees{/sha}"_L1}};

void addCounts(QJsonObject &json)
{
    for (const auto key : {"forks"_L1, "forks_count"_L1, "stargazers_count"_L1, "watchers"_L1, "watchers_count"_L1,
             "open_issues"_L1, "open_issues_count"_L1})
        json[key] = 3;
    json["size"_L1] = 1'024;
}

void addSettings(QJsonObject &json)
{
    for (const auto key : {"has_issues"_L1, "has_projects"_L1, "has_discussions"_L1})
        json[key] = true;
    for (const auto key : {"has_wiki"_L1, "has_pages"_L1, "archived"_L1, "disabled"_L1, "is_template"_L1,
             "web_commit_signoff_required"_L1, "fork"_L1})
        json[key] = false;
    json["allow_forking"_L1] = true;
    json["default_branch"_L1] = u"main"_s;
    json["topics"_L1] = QJsonArray();
    json["permissions"_L1] = QJsonObject{
        {u"admin"_s, false}, {u"maintain"_s, false}, {u"push"_s, true}, {u"triage"_s, true}, {u"pull"_s, true}};
}

void addTexts(QJsonObject &json, const Repository &repository)
{
    json["description"_L1]
        = repository.description.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(repository.description);
    json["language"_L1]
        = repository.language.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(repository.language);
    json["visibility"_L1] = repository.isPrivate ? u"private"_s : u"public"_s;
    for (const auto key : {"homepage"_L1, "mirror_url"_L1, "license"_L1})
        json[key] = QJsonValue::Null;
    json["created_at"_L1] = u"2024-03-01T08:00:00Z"_s;
    json["updated_at"_L1] = u"2026-01-12T16:20:00Z"_s;
    json["pushed_at"_L1] = u"2026-01-12T16:19:41Z"_s;
}

} // namespace

QJsonObject simpleUser(const Owner &owner, const QUrl &web)
{
    const QString host = root(web);
    const QString api = host + "/users/"_L1 + owner.login;
    return {{u"login"_s, owner.login}, {u"id"_s, owner.id}, {u"node_id"_s, owner.nodeID()},
        {u"avatar_url"_s, u"%1/avatars/u/%2?v=4"_s.arg(host).arg(owner.id)}, {u"gravatar_id"_s, u""_s}, {u"url"_s, api},
        {u"html_url"_s, host + '/'_L1 + owner.login}, {u"followers_url"_s, api + "/followers"_L1},
        {u"following_url"_s, api + "/following{/other_user}"_L1}, {u"gists_url"_s, api + "/gists{/gist_id}"_L1},
        {u"starred_url"_s, api + "/starred{/owner}{/repo}"_L1}, {u"subscriptions_url"_s, api + "/subscriptions"_L1},
        {u"organizations_url"_s, api + "/orgs"_L1}, {u"repos_url"_s, api + "/repos"_L1},
        {u"events_url"_s, api + "/events{/privacy}"_L1}, {u"received_events_url"_s, api + "/received_events"_L1},
        {u"type"_s, owner.isOrganization ? u"Organization"_s : u"User"_s}, {u"user_view_type"_s, u"public"_s},
        {u"site_admin"_s, false}};
}

QJsonObject privateUser(const Owner &owner, const QUrl &web)
{
    QJsonObject json = simpleUser(owner, web);
    json["user_view_type"_L1] = u"private"_s;
    json["name"_L1] = owner.name;
    for (const auto key : {"company"_L1, "location"_L1, "email"_L1, "notification_email"_L1, "hireable"_L1, "bio"_L1,
             "twitter_username"_L1})
        json[key] = QJsonValue::Null;
    json["blog"_L1] = u""_s;
    for (const auto key : {"public_repos"_L1, "public_gists"_L1, "followers"_L1, "following"_L1, "private_gists"_L1,
             "total_private_repos"_L1, "owned_private_repos"_L1, "disk_usage"_L1, "collaborators"_L1})
        json[key] = 7;
    json["created_at"_L1] = u"2019-08-14T04:33:35Z"_s;
    json["updated_at"_L1] = u"2026-01-14T04:33:35Z"_s;
    json["two_factor_authentication"_L1] = true;
    json["plan"_L1] = QJsonObject{
        {u"name"_s, u"pro"_s}, {u"space"_s, 976'562'499}, {u"private_repos"_s, 9'999}, {u"collaborators"_s, 0}};
    return json;
}

QJsonObject installationJSON(const World &world, int position, const QUrl &web)
{
    const Installation &installation = world.installations()[position];
    const Owner &owner = world.owners()[installation.owner];
    const QString host = root(web);
    const QString id = QString::number(installation.id);
    const QString settings = owner.isOrganization ? "/organizations/"_L1 + owner.login + "/settings/installations/"_L1
                                                  : u"/settings/installations/"_s;
    const QJsonValue null = QJsonValue::Null;
    return {{u"id"_s, installation.id}, {u"client_id"_s, u"Iv23liDemo"_s},
        {u"account"_s, accountOf(world, installation, web)},
        {u"repository_selection"_s, installation.selectsRepositories ? u"selected"_s : u"all"_s},
        {u"access_tokens_url"_s, host + "/app/installations/"_L1 + id + "/access_tokens"_L1},
        {u"repositories_url"_s, host + "/installation/repositories"_L1}, {u"html_url"_s, host + settings + id},
        {u"app_id"_s, 1'204'331}, {u"app_slug"_s, u"tarvik-velmora"_s}, {u"target_id"_s, owner.id},
        {u"target_type"_s, owner.isOrganization ? u"Organization"_s : u"User"_s},
        {u"permissions"_s, QJsonObject{{u"deployments"_s, u"read"_s}, {u"metadata"_s, u"read"_s}}},
        {u"events"_s, QJsonArray()}, {u"created_at"_s, QString(kInstalledAt)},
        {u"updated_at"_s, QString(kInstallationChangedAt)}, {u"single_file_name"_s, null},
        {u"has_multiple_single_files"_s, false}, {u"single_file_paths"_s, QJsonArray()},
        {u"suspended_by"_s, installation.isSuspended ? QJsonValue(simpleUser(world.owners()[0], web)) : null},
        {u"suspended_at"_s, installation.isSuspended ? QJsonValue(u"2026-01-15T10:00:00Z"_s) : null}};
}

QJsonObject repositoryJSON(const World &world, int position, const QUrl &web, APIVersion version)
{
    const Repository &repository = world.repositories()[position];
    const QString host = root(web);
    const QString fullName = world.nameWithOwner(position);
    const QString page = host + '/'_L1 + fullName;
    const QString api = host + "/repos/"_L1 + fullName;
    QJsonObject json{{u"id"_s, repository.id},
        {u"node_id"_s, repository.legacyNodeID.isEmpty() ? repository.nodeID : repository.legacyNodeID},
        {u"name"_s, repository.name}, {u"full_name"_s, fullName}, {u"private"_s, repository.isPrivate},
        {u"owner"_s, simpleUser(world.owners()[repository.owner], web)}, {u"html_url"_s, page}, {u"url"_s, api},
        {u"clone_url"_s, page + ".git"_L1}, {u"svn_url"_s, page},
        {u"git_url"_s, u"git://127.0.0.1/%1.git"_s.arg(fullName)},
        {u"ssh_url"_s, u"git@127.0.0.1:%1.git"_s.arg(fullName)}};
    for (const auto &[key, rest] : kRepositoryAddresses)
        json[key] = QString(api + rest);
    addCounts(json);
    addSettings(json);
    addTexts(json, repository);
    if (version == APIVersion::V2022_11_28)
        json["has_downloads"_L1] = true;
    return json;
}

} // namespace velmora::simulator
