#ifndef DEVSHOP_ASIO_H_
#define DEVSHOP_ASIO_H_

// Boost.Asio with coroutines. Only the server and its connections include it: it is slow to
// compile.

#include <utility>  // Boost 1.74 uses std::exchange without it

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/tcp_stream.hpp>

namespace devshop {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

/// Completion token of an awaitable operation that stores its error instead of throwing it.
inline auto StoreError(error_code& error) {
  return asio::redirect_error(asio::use_awaitable, error);
}

}  // namespace devshop

#endif  // DEVSHOP_ASIO_H_
