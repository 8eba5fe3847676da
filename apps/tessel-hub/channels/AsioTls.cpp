// Asio's TLS, compiled once; the rest of Asio is compiled in tessel_asio.
#include <asio/ssl/impl/src.hpp>
