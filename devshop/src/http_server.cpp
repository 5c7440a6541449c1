#include "http_server.h"

#include <netinet/tcp.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <exception>
#include <iostream>

#include "start_error.h"
#include "worker_pool.h"

namespace devshop {
namespace {

constexpr std::size_t kLargestBody_bytes = 1024 * 1024;

std::atomic<int> connections_accepted = 0;

/// What this thread serves: httplib hands its handlers the request only.
struct Served {
  Connection* connection = nullptr;
  httplib::Headers::node_type accept_encoding;
};
thread_local Served served;

void set_socket_options(socket_t socket) {
  // httplib's default would share a busy port with another process instead of refusing it.
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

/// Gives the status to answer with when the body is none for this shop. It is read all the same:
/// closing before would take the answer from the client.
int read_body(const httplib::Request& request, const httplib::ContentReader& read,
              std::string* body) {
  if (request.is_multipart_form_data()) {
    read([](const httplib::MultipartFormData&) { return true; },
         [](const char*, std::size_t) { return true; });
    return 415;
  }
  bool fits = true;
  const bool whole = read([&](const char* data, std::size_t size) {
    fits = fits && body->size() + size <= kLargestBody_bytes;
    if (fits) body->append(data, size);
    return true;
  });
  if (!whole) return 400;
  return fits ? 200 : 413;
}

}  // namespace

std::string Request::GetHeader(const std::string& name) const {
  const auto found = headers.find(name);
  return found == headers.end() ? std::string() : found->second;
}

HttpServer::HttpServer(SSL_CTX* tls, StopSignal& stop, Handler handler, StatusObserver on_status)
    : tls_(tls), stop_(stop), handler_(std::move(handler)) {
  new_task_queue = [] { return new WorkerPool; };
  set_socket_options(devshop::set_socket_options);
  set_tcp_nodelay(true);
  set_keep_alive_timeout(24 * 60 * 60);  // told to clients; the connection itself waits for ever
  set_keep_alive_max_count(1'000'000);

  const auto without_body = [this](const httplib::Request& request, Response& response) {
    Handle(request, response, {});
  };
  const auto with_body = [this](const httplib::Request& request, Response& response,
                                const httplib::ContentReader& read) {
    std::string body;
    const int status = read_body(request, read, &body);
    if (status == 200) return Handle(request, response, std::move(body));
    response.status = status;
    response.set_header("Connection", "close");
  };
  Get(".*", without_body);
  Options(".*", without_body);
  Delete(".*", with_body);
  Post(".*", with_body);
  Put(".*", with_body);
  Patch(".*", with_body);
  set_exception_handler(
      [](const httplib::Request&, Response& response, std::exception_ptr mistake) {
        try {
          std::rethrow_exception(mistake);
        } catch (const std::exception& error) {
          std::cerr << std::string("quire-devshop: A mistake of the shop: ") + error.what() + "\n";
        } catch (...) {
          std::cerr << "quire-devshop: A mistake of the shop.\n";
        }
        response.status = 500;
        response.set_content("The shop made a mistake.\n", "text/plain");
      });
  if (on_status) {
    set_post_routing_handler([on_status](const httplib::Request&, Response& response) {
      if (!served.connection->is_broken()) on_status(served.connection->number(), response.status);
    });
  }
}

HttpServer::~HttpServer() {
  if (!thread_.joinable()) return;
  stop_.raise();
  stop();
  thread_.join();
}

int HttpServer::start(int port, const std::string& option) {
  const int bound =
      port != 0 ? (bind_to_port("127.0.0.1", port) ? port : -1) : bind_to_any_port("127.0.0.1");
  if (bound <= 0) {
    throw StartError("Cannot listen on port " + std::to_string(port) + " of 127.0.0.1 (" +
                     std::strerror(errno) + "); name another with " + option + ", or 0 for any.");
  }
  ::listen(svr_sock_, SOMAXCONN);  // httplib's own backlog is 5
  thread_ = std::thread([this] { listen_after_bind(); });
  while (!is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return bound;
}

bool HttpServer::process_and_close_socket(socket_t socket) {
  Connection connection(socket, tls_, stop_, ++connections_accepted);
  served.connection = &connection;
  bool closing = !connection.accept();
  while (!closing && connection.wait_for_request()) {
    const bool answered = process_request(connection, false, closing, [](httplib::Request& raw) {
      raw.ranges.clear();  // ranges are served with If-Range, which httplib does not know
      // Nothing is packed, so that a fault's byte counts are those of the answer.
      served.accept_encoding = raw.headers.extract("Accept-Encoding");
    });
    if (!answered || !connection.flush()) break;
  }
  served.connection = nullptr;
  return true;
}

void HttpServer::Handle(const httplib::Request& raw, Response& response, std::string body) {
  Request request{raw.method, raw.path, {}, {}, raw.headers, std::move(body)};
  const auto question = raw.target.find('?');
  if (question != std::string::npos) request.query = ParseFields(raw.target.substr(question + 1));
  if (raw.get_header_value("Content-Type").rfind("application/x-www-form-urlencoded", 0) == 0) {
    request.form = ParseFields(request.body);
  }
  for (const char* added : {"REMOTE_ADDR", "REMOTE_PORT", "LOCAL_ADDR", "LOCAL_PORT"}) {
    request.headers.erase(added);  // httplib's, not the client's
  }
  if (served.accept_encoding) request.headers.insert(std::move(served.accept_encoding));
  response.status = 200;
  handler_(request, response, *served.connection);
}

}  // namespace devshop
