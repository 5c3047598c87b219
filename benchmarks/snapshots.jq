# SPDX-License-Identifier: MIT
# Turns answers to the deployments query into the list that Velmora shows: the same fields, filter and order.
# Instants stay texts, which sort alike; parsing them would cost jq several times as much.
($now | tonumber) as $now
| ($now - 86400 | todateiso8601) as $resultCutOff
| ($now - 604800 | todateiso8601) as $activeCutOff
| [inputs | .data.nodes[] | select(. != null) | . as $repository | .deployments.nodes[] | select(. != null) | {
    id,
    repositoryNodeID: $repository.id,
    repositoryName: $repository.nameWithOwner,
    repositoryURL: $repository.url,
    environment: (.latestStatus.environment // .latestEnvironment // .environment // "Default"),
    commitOID: .commitOid,
    creatorLogin: .creator.login,
    state: (.latestStatus.state // .state),
    createdAt,
    updatedAt: (.latestStatus.updatedAt // .updatedAt),
    statusDescription: .latestStatus.description,
    logURL: .latestStatus.logUrl,
    environmentURL: .latestStatus.environmentUrl
  }
  | .isActive = (.state | IN("QUEUED", "PENDING", "WAITING", "IN_PROGRESS"))
  | select(.state != "INACTIVE" and .updatedAt >= (if .isActive then $activeCutOff else $resultCutOff end))]
| sort_by(.isActive, .updatedAt) | reverse | length
