// Asio's TLS, compiled once; the rest of Asio comes compiled with the library's.
#include <asio/ssl/impl/src.hpp>
