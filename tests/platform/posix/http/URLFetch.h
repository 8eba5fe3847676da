#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>

#include "platform/posix/http/HttpServices.h"
#include "platform/posix/net/NetServices.h"
#include "tests/support/Eventually.h"

namespace tessel::test {

/// What a completion was given.
struct Answer {
  std::string body;
  URLResponse response;
  std::optional<Error> error;
};

/// URL sessions of the real service, and the wait for what they answer.
struct URLSessionTest : ::testing::Test {
  using Pending = std::shared_ptr<Eventually<std::optional<Answer>>>;

  static Pending start(URLSession& session, const URLRequest& request) {
    auto pending = std::make_shared<Eventually<std::optional<Answer>>>();
    session.dataTask(request, [pending](const Bytes& body, const URLResponse& response,
                                        const std::optional<Error>& error) {
      pending->set(Answer{{body.begin(), body.end()}, response, error});
    });
    return pending;
  }

  static Answer wait(const Pending& pending) {
    if (pending->becomes([](const auto& answer) { return answer.has_value(); }))
      return *pending->get();
    ADD_FAILURE() << "no completion";
    return {};
  }

  Answer fetch(const std::string& url, const std::string& method = "GET") {
    return wait(start(*sessions->makeSession({}), {.url = url, .method = method}));
  }

  const std::shared_ptr<platform::URLSessions> sessions =
      platform::makeURLSessions(platform::makeQueues());
};

}  // namespace tessel::test
