#include "http_server.h"

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <iostream>
#include <list>
#include <optional>
#include <sstream>
#include <thread>

#include "asio.h"
#include "connection.h"
#include "start_error.h"
#include "url_encoding.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

namespace devshop {
namespace {

namespace http = boost::beast::http;
using Parser = http::request_parser<http::string_body>;
using Message = http::request<http::string_body>;

constexpr int kThreads = 2;
constexpr std::size_t kMaxTarget_bytes = 8 * 1024;
constexpr std::uint32_t kMaxHead_bytes = 64 * 1024;
constexpr std::size_t kMaxBody_bytes = 1024 * 1024;
constexpr int kMaxHeaders = 100;
constexpr int kMaxFormFields = 10'000;
constexpr std::size_t kPiece_bytes = 64 * 1024;
constexpr std::chrono::milliseconds kAcceptRetryDelay{100};

constexpr char kFormType[] = "application/x-www-form-urlencoded";

std::atomic<int> connections_accepted = 0;

/// The response status for a request that cannot be parsed.
int ParseErrorStatus(const error_code& error, bool has_line) {
  if (error == http::error::body_limit) return 413;
  if (error != http::error::header_limit) return 400;
  return has_line ? 431 : 414;
}

/// The response status for a request that exceeds a limit; 0: accepted.
int RefusalStatus(const Message& message) {
  const auto content_type = message[http::field::content_type];
  if (message.target().size() > kMaxTarget_bytes) return 414;
  if (std::distance(message.begin(), message.end()) > kMaxHeaders) return 431;
  if (content_type.starts_with("multipart/form-data")) return 415;
  const auto separators = std::count(message.body().begin(), message.body().end(), '&');
  return separators >= kMaxFormFields && content_type.starts_with(kFormType) ? 413 : 0;
}

Request ToRequest(Message& message, int connection) {
  Request request;
  request.connection = connection;
  request.method = std::string(message.method_string());
  const std::string target(message.target().substr(0, message.target().find('#')));
  const auto question = std::min(target.find('?'), target.size());
  request.path = PercentDecode(target.substr(0, question));
  request.query = ParseFields(target.substr(std::min(question + 1, target.size())));
  for (const auto& header : message) {
    request.headers.emplace_back(std::string(header.name_string()), std::string(header.value()));
  }
  request.body = std::move(message.body());
  if (request.GetHeader("Content-Type").starts_with(kFormType)) {
    request.form = ParseFields(request.body);
  }
  return request;
}

void CallHandler(const std::function<void()>& handler, Response& response) {
  try {
    handler();
    return;
  } catch (const std::exception& error) {
    std::cerr << std::string("quire-devshop: The shop failed on a request: ") + error.what() + "\n";
  }
  response.SetError(500, "The shop failed on this request.");
}

bool IsChunked(const Response& response, const Message& message) {
  return response.chunked && message.version() >= 11;
}

std::string Head(const Response& response, const Message& message, bool keep_alive) {
  http::response_header<> head;
  head.version(message.version());
  head.result(static_cast<unsigned>(response.status));
  for (const auto& [name, value] : response.headers) head.set(name, value);
  if (!keep_alive) head.set(http::field::connection, "close");
  if (keep_alive && message.version() < 11) head.set(http::field::connection, "keep-alive");
  if (response.status == 304) {
    // A length would be that of the content that is not sent.
  } else if (IsChunked(response, message)) {
    head.set(http::field::transfer_encoding, "chunked");
  } else {
    head.set(http::field::content_length, std::to_string(response.size_bytes));
  }
  std::ostringstream text;
  text << head;
  return text.str();
}

/// Receives a request. Returns 0 when it is complete, the status that refuses it, or -1 when the
/// connection has ended.
asio::awaitable<int> ReceiveRequest(Connection& connection, Parser& parser) {
  parser.eager(true);
  parser.header_limit(kMaxHead_bytes);
  parser.body_limit(kMaxBody_bytes);
  bool continued = false, has_line = false;
  for (bool idle = true;; idle = false) {
    // The previous request may have brought this one along.
    bool open = true;
    if (!idle || connection.received().empty()) open = co_await connection.Receive(idle);
    if (!open) co_return -1;
    error_code error;
    const auto received = connection.received();
    has_line = has_line || received.find('\n') != std::string_view::npos;
    const auto used = parser.put(asio::buffer(received.data(), received.size()), error);
    if (error && error != http::error::need_more) co_return ParseErrorStatus(error, has_line);
    connection.Consume(used);
    if (parser.is_done()) break;
    if (continued || !parser.is_header_done()) continue;
    continued = true;
    if (parser.get()[http::field::expect] != "100-continue") continue;
    connection.Append("HTTP/1.1 100 Continue\r\n\r\n");
    const bool flushed = co_await connection.Flush();
    if (!flushed) co_return -1;
  }
  co_return RefusalStatus(parser.get());
}

/// Sends bytes [first, last) of the body; the last of them may stay unsent until the next Flush.
asio::awaitable<bool> SendBody(Connection& connection, const Response& response, bool chunked,
                               std::size_t first, std::size_t last) {
  std::string piece;
  bool open = true;
  while (open && first < last) {
    if (!response.read(first, std::min(kPiece_bytes, last - first), &piece)) co_return false;
    first += piece.size();
    if (chunked) {
      std::ostringstream size;
      size << std::hex << piece.size() << "\r\n";
      piece = size.str() + piece + "\r\n";
    }
    connection.Append(piece);
    if (connection.unsent_bytes() >= kPiece_bytes) open = co_await connection.Flush();
  }
  co_return open;
}

asio::awaitable<bool> SendSlowly(Connection& connection, const Response& response, bool chunked,
                                 std::size_t first) {
  bool open = true;
  for (; open && first < response.size_bytes; ++first) {
    open = co_await connection.SleepUnlessClosed(response.fault.delay_ms);
    if (!open) break;
    open = co_await SendBody(connection, response, chunked, first, first + 1);
    if (!open) break;
    open = co_await connection.Flush();
  }
  co_return open;
}

/// What happens to a connection after a response.
enum class Next { kRequest, kClose, kDrainAndClose, kReset };

asio::awaitable<Next> SendResponse(Connection& connection, const Response& response,
                                   const Message& message, bool keep_alive) {
  const ResponseFault& fault = response.fault;
  const bool faulty = fault.kind != ResponseFault::Kind::kNone;
  if (faulty && !fault.after_bytes) {
    fault.on_delivered();
    co_return Next::kReset;
  }
  if (response.on_send) response.on_send(response.status);
  connection.Append(Head(response, message, keep_alive));
  const bool chunked = IsChunked(response, message);
  const std::size_t size = message.method() == http::verb::head ? 0 : response.size_bytes;
  const std::size_t whole = faulty ? std::min(size, *fault.after_bytes) : size;
  bool open = co_await SendBody(connection, response, chunked, 0, whole);
  if (!open) co_return Next::kClose;
  if (whole < size) {
    fault.on_delivered();
    open = co_await connection.Flush();
    if (!open || fault.kind == ResponseFault::Kind::kReset) co_return Next::kReset;
    if (fault.kind == ResponseFault::Kind::kTruncate) co_return Next::kClose;
    open = co_await SendSlowly(connection, response, chunked, whole);
    if (!open) co_return Next::kReset;
  }
  if (chunked && message.method() != http::verb::head) connection.Append("0\r\n\r\n");
  open = co_await connection.Flush();
  if (!open || !keep_alive) co_return Next::kClose;
  co_return Next::kRequest;
}

/// Serves one request of a connection.
asio::awaitable<Next> Exchange(Connection& connection, const HttpServer::Handler& handler,
                               int connection_number) {
  Parser parser;
  Response response;
  const int refusal = co_await ReceiveRequest(connection, parser);
  if (refusal < 0) co_return Next::kClose;
  if (refusal > 0) {
    response.SetError(refusal, "The shop refuses this request.");
    co_await SendResponse(connection, response, parser.get(), false);
    co_return Next::kDrainAndClose;
  }
  const bool keep_alive = parser.keep_alive();
  const Request request = ToRequest(parser.get(), connection_number);
  CallHandler([&] { handler(request, response); }, response);
  if (response.after_delay) {
    const bool open = co_await connection.SleepUnlessClosed(response.delay_ms);
    if (!open) co_return Next::kReset;
    CallHandler([&] { response.after_delay(response); }, response);
  }
  const Next next = co_await SendResponse(connection, response, parser.get(), keep_alive);
  co_return next;
}

struct Port {
  std::optional<asio::ssl::context> tls;
  HttpServer::Handler handler;
};

asio::awaitable<void> Serve(tcp::socket socket, Port& port, int connection_number) {
  Connection connection(std::move(socket), port.tls ? &*port.tls : nullptr);
  const bool secured = co_await connection.Handshake();
  Next next = secured ? Next::kRequest : Next::kClose;
  while (next == Next::kRequest) {
    next = co_await Exchange(connection, port.handler, connection_number);
  }
  if (next == Next::kReset) {
    connection.Reset();
  } else {
    co_await connection.Close(next == Next::kDrainAndClose);
  }
}

asio::awaitable<void> Accept(asio::io_context& io, tcp::acceptor acceptor, Port& port) {
  asio::steady_timer retry(io);
  for (;;) {
    tcp::socket socket(asio::make_strand(io));
    error_code error;
    co_await acceptor.async_accept(socket, StoreError(error));
    if (error) {  // out of file descriptors
      retry.expires_after(kAcceptRetryDelay);
      co_await retry.async_wait(asio::use_awaitable);
      continue;
    }
    const auto executor = socket.get_executor();
    asio::co_spawn(executor, Serve(std::move(socket), port, ++connections_accepted),
                   asio::detached);
  }
}

}  // namespace

struct HttpServer::Impl {
  std::list<Port> ports;  // destroyed after `io` and its coroutines
  asio::io_context io{kThreads};
  asio::signal_set signals{io, SIGTERM, SIGINT};
};

HttpServer::HttpServer() : impl_(std::make_unique<Impl>()) {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
  }
  impl_->signals.async_wait([this](const error_code&, int) { impl_->io.stop(); });
}

HttpServer::~HttpServer() = default;

int HttpServer::Listen(int port, const std::string& option, SSL_CTX* tls, Handler handler) {
  tcp::acceptor acceptor(impl_->io, tcp::v4());
  const tcp::endpoint address(asio::ip::address_v4::loopback(), static_cast<std::uint16_t>(port));
  error_code error;
  acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  acceptor.bind(address, error);
  if (!error) acceptor.listen(tcp::acceptor::max_listen_connections, error);
  if (error) {
    throw StartError("Cannot listen on port " + std::to_string(port) + " of 127.0.0.1 (" +
                     error.message() + "); name another with " + option + ", or 0 for any.");
  }
  Port& served = impl_->ports.emplace_back();
  served.handler = std::move(handler);
  if (tls != nullptr) {
    SSL_CTX_up_ref(tls);
    served.tls.emplace(tls);
  }
  const int listening_port = acceptor.local_endpoint().port();
  asio::co_spawn(impl_->io, Accept(impl_->io, std::move(acceptor), served), asio::detached);
  return listening_port;
}

void HttpServer::Run() {
  std::thread second([this] { impl_->io.run(); });
  impl_->io.run();
  second.join();
}

}  // namespace devshop
