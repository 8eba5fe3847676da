#pragma once

// The one place that includes Asio: its own code is compiled once, in AsioImplementation.cpp.
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
