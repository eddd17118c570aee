// What strangers on the network send to the browser source: bytes to a request, a request to an
// answer. Nothing opens without the key, and never for a page from elsewhere.
#include "overlay/settings/slots.h"
#include "streaming/browser_limits.h"
#include "streaming/browser_page.h"
#include "streaming/browser_request.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using namespace vt;
namespace http = boost::beast::http;

namespace {

constexpr std::string_view kKey = "0123456789abcdef0123456789abcdef";

std::string_view field(const http::request<http::empty_body>& header, http::field name) {
    const auto text = header[name];
    return header.count(name) == 1 ? std::string_view(text.data(), text.size())
                                   : std::string_view();
}

void require(bool holds) {
    if (!holds) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    http::request_parser<http::empty_body> parser;
    parser.header_limit(static_cast<uint32_t>(BrowserLimits().headerBytes));
    boost::system::error_code error;
    parser.put(boost::asio::buffer(data, size), error);
    if (error || !parser.is_header_done()) return 0;
    const auto& header = parser.get();
    const std::string_view method(header.method_string().data(), header.method_string().size());
    const std::string_view target(header.target().data(), header.target().size());
    const BrowserRequest request{method,
                                 target,
                                 field(header, http::field::host),
                                 field(header, http::field::origin),
                                 header.count(http::field::origin) > 0,
                                 boost::beast::websocket::is_upgrade(header)};
    const BrowserAnswer answer = answerRequest(request, kKey);
    constexpr int kCodes[] = {101, 200, 400, 403, 404, 405, 426};
    require(std::count(std::begin(kCodes), std::end(kCodes), answer.code) == 1);
    require((answer.code < 300) == (answer.kind != BrowserAnswer::status));
    require(answerRequest(request, "").code >= 400);
    if (answer.kind == BrowserAnswer::status) return 0;
    require(method == "GET" && keyMatches(queryValue(target, "key"), kKey));
    require(hostIsOurs(request.host));
    require(!request.hasOrigin || request.origin.size() == request.host.size() + 7);
    if (answer.kind == BrowserAnswer::indexPage) return 0;
    require(overlaySlot(answer.slot) != nullptr);
    require(overlayPage(overlayKey(answer.slot), kKey).find("__") == std::string::npos);
    return 0;
}
