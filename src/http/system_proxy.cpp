// SPDX-License-Identifier: MIT
#include "http/system_proxy.h"

#include <memory>

#include <proxy.h>

namespace velmora
{

namespace
{

struct DeleteFactory {
    void operator()(pxProxyFactory *factory) const { ::px_proxy_factory_free(factory); }
};

struct DeleteAnswers {
    void operator()(char **answers) const { ::px_proxy_factory_free_proxies(answers); }
};

} // namespace

Proxy systemProxy(const QUrl &url)
{
    // It keeps the script that it has loaded, which may be bound to its thread.
    thread_local const std::unique_ptr<pxProxyFactory, DeleteFactory> factory(::px_proxy_factory_new());
    const std::unique_ptr<char *, DeleteAnswers> answers(
        ::px_proxy_factory_get_proxies(factory.get(), url.toEncoded().constData()));
    for (char **answer = answers.get(); answer && *answer; ++answer) {
        const QUrl named = QUrl::fromEncoded(*answer);
        const auto proxy = proxyAt(named);
        if (proxy || named.scheme() == QLatin1String("direct"))
            return proxy.value_or(Proxy());
    }
    return {};
}

} // namespace velmora
