#include "devserver/Exchange.h"

#include "devserver/ResponseWriter.h"
#include "devserver/Text.h"

#include <algorithm>

namespace devserver {

// The request's body as the handler sees it: counted, recorded, and struck by the faults of the request's side.
class Exchange::Body : public BodySource
{
public:
    explicit Body(Exchange& exchange)
        : exchange_(exchange), keeps_(exchange.request_.method != "PUT"),
          awaitsContinue_(equalIgnoringCase(exchange.request_.header("Expect").value_or(""), "100-continue"))
    {
    }

    std::size_t read(std::span<char> buffer) override
    {
        strike();
        if (std::exchange(awaitsContinue_, false)) exchange_.transport_.write("HTTP/1.1 100 Continue\r\n\r\n");
        const std::size_t size =
            exchange_.reader_.read(buffer.first(std::min<std::uint64_t>(buffer.size(), untilStrike())));
        count_ += size;
        record({buffer.data(), size});
        return size;
    }

    // Carries out what is due at this point of the body.
    void strike()
    {
        for (auto& call : exchange_.plan_.calls)
            if (call.function && call.afterBytes <= count_) std::exchange(call.function, nullptr)();
        if (exchange_.plan_.cutRequest && *exchange_.plan_.cutRequest <= count_) throw ConnectionLost("cut");
    }

    // The client still waits for leave to send its body.
    bool awaitsContinue() const { return awaitsContinue_; }

private:
    std::uint64_t untilStrike() const
    {
        std::uint64_t next = exchange_.plan_.cutRequest.value_or(UINT64_MAX);
        for (const auto& call : exchange_.plan_.calls)
            if (call.function) next = std::min(next, call.afterBytes);
        return next - count_;
    }

    void record(std::string_view piece)
    {
        if (piece.empty()) return;
        keeps_ = keeps_ && count_ <= exchange_.services_.site.options.recordBodyLimit;
        exchange_.services_.log.update(exchange_.id_, [&](RequestRecord& record) {
            record.requestBodyBytes = count_;
            if (keeps_) record.body += piece;
        });
    }

    Exchange& exchange_;
    std::uint64_t count_ = 0;
    bool keeps_;
    bool awaitsContinue_;
};

namespace {

RequestRecord recordOf(const Request& request, std::uint64_t connectionId)
{
    RequestRecord record;
    record.connectionId = connectionId;
    record.method = request.method;
    record.target = request.target;
    record.path = request.path;
    record.headers = request.headers;
    return record;
}

} // namespace

Exchange::Exchange(Transport& transport, HttpReader& reader, std::uint64_t connectionId, const Services& services,
                   Request request)
    : transport_(transport), reader_(reader), services_(services), request_(std::move(request)),
      id_(services.log.begin(recordOf(request_, connectionId)))
{
    plan_ = services.faults.strike(request_.method, request_.path);
    request_.listing = plan_.listing;
}

Exchange::~Exchange()
{
    services_.log.finish(id_);
}

bool Exchange::run()
{
    Body body(*this);
    faultsBeforeBody(body);
    Response response = answer(body);
    if (plan_.dropResponse) {
        drain(body);
        throw ConnectionLost("dropped");
    }
    if (plan_.stall && plan_.stall->place == fault::StallPlace::BeforeResponse) stall(transport_, plan_.released);
    services_.log.update(id_, [&](RequestRecord& record) { record.responseStatus = response.status; });
    ResponseWriter writer(transport_, plan_, [&](std::uint64_t bytes) {
        services_.log.update(id_, [&](RequestRecord& record) { record.responseBodyBytes += bytes; });
    });
    // A client that waits for leave may send its body or not: only a new connection makes that clear.
    const bool clear = !(body.awaitsContinue() && reader_.hasUnreadBody());
    const bool goesOn = writer.write(response, clear && request_.keepAlive && services_.site.options.keepAlive);
    if (clear) drain(body);
    return goesOn;
}

void Exchange::faultsBeforeBody(Body& body)
{
    if (plan_.delay.count() > 0 && transport_.waitForEnd(plan_.delay) && !reader_.hasUnreadBody())
        throw ConnectionLost("gone");
    body.strike();
    if (plan_.stall && plan_.stall->place == fault::StallPlace::BeforeReadingBody) stall(transport_, plan_.released);
}

Response Exchange::answer(Body& body)
{
    if (!plan_.status) return services_.router.answer(request_, body);
    drain(body);
    Response response = plainResponse(plan_.status->code);
    if (!plan_.status->body.empty()) response.body = plan_.status->body;
    for (const auto& [name, value] : plan_.status->headers)
        response.set(name, value);
    return response;
}

} // namespace devserver
