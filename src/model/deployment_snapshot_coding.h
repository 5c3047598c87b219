// SPDX-License-Identifier: MIT
#pragma once

// For source files only that code records with deployments.

#include "model/shared_deployment.h"
#include "support/json_coding.h"

namespace velmora
{

template <>
struct json::Codec<DeploymentState> {
    static void decode(DeploymentState &value, Element element, const Path &path);
    static void encode(Writer &writer, DeploymentState value) { Codec<QString>::encode(writer, rawValue(value)); }
};

/// The table of a deployment in Velmora's own files. Decoding restores it exactly.
template <>
struct JSONTable<DeploymentSnapshot> {
    using Record = DeploymentSnapshot;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::required("repositoryNodeID", &Record::repositoryNodeID),
        json::required("repositoryName", &Record::repositoryName),
        json::required("repositoryURL", &Record::repositoryURL), json::required("environment", &Record::environment),
        json::optional("refName", &Record::refName), json::required("commitOID", &Record::commitOID),
        json::optional("creatorLogin", &Record::creatorLogin), json::required("state", &Record::state),
        json::required("createdAt", &Record::createdAt), json::required("updatedAt", &Record::updatedAt),
        json::optional("statusDescription", &Record::statusDescription), json::optional("logURL", &Record::logURL),
        json::optional("environmentURL", &Record::environmentURL)};
};

template <>
struct json::Codec<DeploymentList> {
    static void decode(DeploymentList &value, Element element, const Path &path);
    static void encode(Writer &writer, const DeploymentList &value);
};

} // namespace velmora
