// SPDX-License-Identifier: MIT
// velmora_decode KIND: decodes standard input as the client does and prints the record as JSON.
// velmora_decode query: prints the text of the GraphQL query.
#include "github/github_user.h"
#include "github/wire/deployments_query.h"
#include "github/wire/responses.h"
#include "support/error.h"
#include "support/json.h"

#include <QFile>

#include <cstdio>

namespace
{

template <typename Record>
QByteArray again(const QByteArray &json)
{
    return velmora::encodeJSON(velmora::decodeJSON<Record>(json));
}

using Decoder = QByteArray (*)(const QByteArray &);

Decoder decoderFor(const QByteArray &kind)
{
    static const QHash<QByteArray, Decoder> decoders{{"user", again<velmora::GitHubUser>},
        {"installations", again<velmora::GitHubInstallationsResponse>},
        {"repositories", again<velmora::GitHubRepositoriesResponse>}};
    return decoders.value(kind);
}

int print(const QByteArray &text)
{
    return std::fwrite(text.constData(), 1, std::size_t(text.size()), stdout) == std::size_t(text.size()) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const QByteArray kind = argc == 2 ? argv[1] : "";
    if (kind == "query")
        return print(velmora::deploymentsQueryText().toUtf8());
    const Decoder decode = decoderFor(kind);
    if (!decode) {
        std::fputs("velmora-decode: user, installations, repositories or query\n", stderr);
        return 2;
    }
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return 2;
    try {
        return print(decode(input.readAll()));
    } catch (const velmora::Error &error) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(error.description()));
        return 1;
    }
}
