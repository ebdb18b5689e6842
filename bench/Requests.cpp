// bench_requests URL COUNT   asks for the head of the URL COUNT times, one after another, on one connection

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "davclient/ASHttpConnectInfo.h"
#include "davclient/ASWDCmdSimple.h"
#include "platform/RunLoop.h"

using namespace tidemark;

namespace {

bool ask(const Url& url, const std::shared_ptr<ASHttpConnectInfo>& info)
{
    const auto command = std::make_shared<ASWDCmdHead>(url, info);
    bool completed = false;
    command->setCompleteEventHandler([&completed] { completed = true; });
    if (!command->execute()) return false;
    RunLoop::current()->runUntil([&completed] { return completed; });
    return command->statusCode() == 200;
}

} // namespace

int main(int argc, char** argv)
{
    const auto url = Url::parse(argc > 1 ? argv[1] : "");
    const int count = argc > 2 ? std::atoi(argv[2]) : 0;
    if (!url || count <= 0) {
        std::fputs("usage: bench_requests URL COUNT\n", stderr);
        return 2;
    }
    const auto info = std::make_shared<ASHttpConnectInfo>();
    info->setValidatesSecureCertificate(false);
    for (int i = 0; i < count; ++i)
        if (!ask(*url, info)) return 1;
    return 0;
}
