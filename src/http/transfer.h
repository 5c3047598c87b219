// SPDX-License-Identifier: MIT
#pragma once

#include "http/http_session.h"
#include "http/proxy.h"

#include <curl/curl.h>

#include <memory>

namespace velmora
{

struct DeleteTransfer {
    void operator()(CURL *transfer) const { ::curl_easy_cleanup(transfer); }
};
using Transfer = std::unique_ptr<CURL, DeleteTransfer>;

struct DeleteLines {
    void operator()(curl_slist *lines) const { ::curl_slist_free_all(lines); }
};
using HeaderLines = std::unique_ptr<curl_slist, DeleteLines>;

/// The lines of the headers for makeTransfer(), in order.
[[nodiscard]] HeaderLines headerLines(const HTTPRequest &request);

/// A transfer that sends the request as it is: HTTP/1.1, no redirects, cookies or cache, and nothing from the
/// environment. The body of `request` and the lines outlive it.
[[nodiscard]] Transfer makeTransfer(
    const HTTPRequest &request, const HeaderLines &headers, const Proxy &proxy, qint64 bodyLimit);

} // namespace velmora
