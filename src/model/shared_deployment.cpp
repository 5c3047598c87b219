// SPDX-License-Identifier: MIT
#include "model/shared_deployment.h"

namespace velmora
{

DeploymentList sharedList(QList<DeploymentSnapshot> records)
{
    const auto all = std::make_shared<const QList<DeploymentSnapshot>>(std::move(records));
    DeploymentList list;
    list.reserve(all->size());
    for (const DeploymentSnapshot &record : *all)
        list.emplaceBack(std::shared_ptr<const DeploymentSnapshot>(all, &record));
    return list;
}

} // namespace velmora
