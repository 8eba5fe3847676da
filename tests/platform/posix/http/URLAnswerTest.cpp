#include <cstdlib>
#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/platform/posix/http/URLFetch.h"
#include "tests/support/ScriptedHTTPServer.h"
#include "tests/support/TestCertificate.h"

// What goes over the wire, and what a session makes of the answers of odd servers.
namespace tessel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;

using URLAnswerTest = URLSessionTest;

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

TEST_F(URLAnswerTest, BodyStatusAndHeaderFieldsArrive) {
  const ScriptedHTTPServer server{
      answering(okAnswer("<root/>",
                         "Application-URL: http://hub/apps/\r\nX-Twice: 1\r\n"
                         "x-twice:  2 \r\n"))};
  const Answer answer = fetch(server.url("/device-details.xml"));
  EXPECT_FALSE(answer.error);
  EXPECT_EQ(answer.body, "<root/>");
  EXPECT_EQ(answer.response.statusCode, 200);
  EXPECT_THAT(answer.response.headers,
              ElementsAre(Pair("application-url", "http://hub/apps/"), Pair("content-length", "7"),
                          Pair("x-twice", "2")));
  EXPECT_EQ(answer.response.header("APPLICATION-Url"), "http://hub/apps/");
  EXPECT_EQ(answer.response.header("Location"), std::nullopt);
}

TEST_F(URLAnswerTest, ValuesOfHeaderFieldsAreWithoutSurroundingWhiteSpace) {
  const ScriptedHTTPServer server{
      answering(okAnswer("x",
                         "Application-URL:\r\nLocation: \r\nX-Tabs: \t a b \t \r\nX-Lf:\n"
                         "X-Twice-Ended: c\r\r\n"))};
  const Answer answer = fetch(server.url());
  EXPECT_FALSE(answer.error);
  EXPECT_EQ(answer.response.header("Application-URL"), "");
  EXPECT_EQ(answer.response.header("Location"), "");
  EXPECT_EQ(answer.response.header("X-Tabs"), "a b");
  EXPECT_EQ(answer.response.header("X-Lf"), "");
  EXPECT_EQ(answer.response.header("X-Twice-Ended"), "c");
}

TEST_F(URLAnswerTest, AGetSendsNoMoreThanItMust) {
  Eventually<std::string> head;
  const ScriptedHTTPServer server{[&head](ServerConnection& connection) {
    head.set(connection.receiveHead());
    connection.send(okAnswer(""));
  }};
  fetch(server.url("/device-details.xml?a=b"));
  EXPECT_EQ(head.get(), "GET /device-details.xml?a=b HTTP/1.1\r\nHost: 127.0.0.1:" +
                            std::to_string(server.port()) +
                            "\r\nUser-Agent: Tessel/1.0\r\nAccept: */*\r\n\r\n");
}

TEST_F(URLAnswerTest, APostHasALengthOfZeroAndNoType) {
  Eventually<std::string> head;
  const ScriptedHTTPServer server{[&head](ServerConnection& connection) {
    head.set(connection.receiveHead());
    connection.send("HTTP/1.1 201 Created\r\nLocation: /run\r\nContent-Length: 2\r\n\r\nok");
  }};
  const Answer answer = fetch(server.url("/apps/CasterApp"), "POST");
  EXPECT_THAT(head.get(), ::testing::StartsWith("POST /apps/CasterApp HTTP/1.1\r\n"));
  EXPECT_THAT(head.get(), HasSubstr("\r\nContent-Length: 0\r\n"));
  EXPECT_THAT(head.get(), Not(HasSubstr("Content-Type")));
  EXPECT_EQ(answer.response.statusCode, 201);
  EXPECT_EQ(answer.response.header("location"), "/run");
  EXPECT_EQ(answer.body, "ok");
}

TEST_F(URLAnswerTest, AStatusIsNoError) {
  for (const int status : {204, 304, 404, 503}) {
    const ScriptedHTTPServer server{
        answering("HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Length: 0\r\n\r\n")};
    const Answer answer = fetch(server.url());
    EXPECT_FALSE(answer.error);
    EXPECT_EQ(answer.response.statusCode, status);
  }
}

TEST_F(URLAnswerTest, AnAnswerInSingleBytesAndChunksIsWhole) {
  const std::string bytes =
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
      "5\r\nhello\r\n7\r\n, world\r\n0\r\nX-Trailer: t\r\n\r\n";
  const ScriptedHTTPServer server{[&bytes](ServerConnection& connection) {
    connection.receiveHead();
    for (const char byte : bytes) connection.send({&byte, 1});
  }};
  const Answer answer = fetch(server.url());
  EXPECT_EQ(answer.body, "hello, world");
  EXPECT_EQ(answer.response.header("X-Trailer"), std::nullopt);
}

TEST_F(URLAnswerTest, HeaderFieldsOfInterimAnswersAreNotTheAnswers) {
  const ScriptedHTTPServer server{
      answering("HTTP/1.1 103 Early Hints\r\nApplication-URL: http://no/\r\n\r\n" + okAnswer("x"))};
  const Answer answer = fetch(server.url());
  EXPECT_EQ(answer.body, "x");
  EXPECT_EQ(answer.response.header("Application-URL"), std::nullopt);
}

TEST_F(URLAnswerTest, ABodyOfAMebibyteIsTheLargest) {
  const std::string largest(kMebibyte, 'x');
  const ScriptedHTTPServer fits{answering(okAnswer(largest))};
  EXPECT_EQ(fetch(fits.url()).body, largest);

  const std::vector<std::string> tooLarge = {
      okAnswer(largest + "x"),
      "HTTP/1.1 200 OK\r\n\r\n" + largest + "x",
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n100001\r\n" + largest +
          "x\r\n0\r\n\r\n",
      "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999\r\n\r\nx",
  };
  for (const std::string& answerBytes : tooLarge) {
    const ScriptedHTTPServer server{answering(answerBytes)};
    const Answer answer = fetch(server.url());
    EXPECT_EQ(answer.error,
              (Error{"tessel.url", CURLE_FILESIZE_EXCEEDED, "The answer is larger than 1 MiB."}));
    EXPECT_EQ(answer.body, "");
  }
}

TEST_F(URLAnswerTest, ABodyWithoutEndIsCutOff) {
  const ScriptedHTTPServer server{[](ServerConnection& connection) {
    connection.receiveHead();
    connection.send("HTTP/1.1 200 OK\r\n\r\n");
    while (connection.send(std::string(4096, 'x'))) {
    }
  }};
  const Answer answer = fetch(server.url());
  ASSERT_TRUE(answer.error);
  EXPECT_EQ(answer.error->code, CURLE_FILESIZE_EXCEEDED);
}

TEST_F(URLAnswerTest, AHeaderWithoutEndIsCutOff) {
  const ScriptedHTTPServer lines{[](ServerConnection& connection) {
    connection.receiveHead();
    connection.send("HTTP/1.1 200 OK\r\n");
    while (connection.send("X-Filler: " + std::string(1000, 'x') + "\r\n")) {
    }
  }};
  EXPECT_EQ(fetch(lines.url()).error, (Error{"tessel.url", CURLE_FILESIZE_EXCEEDED,
                                             "The answer's header is larger than 64 KiB."}));
  const ScriptedHTTPServer interim{[](ServerConnection& connection) {
    connection.receiveHead();
    while (connection.send("HTTP/1.1 100 Continue\r\n\r\n")) {
    }
  }};
  EXPECT_TRUE(fetch(interim.url()).error);
  const ScriptedHTTPServer oneLine{[](ServerConnection& connection) {
    connection.receiveHead();
    connection.send("HTTP/1.1 200 OK\r\nX: ");
    while (connection.send(std::string(1000, 'x'))) {
    }
  }};
  EXPECT_TRUE(fetch(oneLine.url()).error);
}

TEST_F(URLAnswerTest, AnAnswerThatStopsHalfwayIsAnError) {
  const std::string whole = okAnswer("<root/>");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const ScriptedHTTPServer server{answering(whole.substr(0, length))};
    const Answer answer = fetch(server.url());
    EXPECT_TRUE(answer.error) << length;
    EXPECT_EQ(answer.body, "");
  }
}

TEST_F(URLAnswerTest, WhatIsNotHttpIsAnError) {
  for (const char* bytes : {"hello\r\n", "<root/>", "HTTP/9.9 abc\r\n\r\n", "\r\n\r\n"}) {
    const ScriptedHTTPServer server{answering(bytes)};
    const Answer answer = fetch(server.url());
    ASSERT_TRUE(answer.error) << bytes;
    EXPECT_EQ(answer.error->domain, "tessel.url");
    EXPECT_NE(answer.error->localizedDescription, "");
  }
}

TEST_F(URLAnswerTest, ANameThatIsAnInjectionNeverLeaves) {
  const ScriptedHTTPServer server{answering(okAnswer(""))};
  const std::string base = server.url();
  const std::vector<std::string> urls = {
      base + "a b",
      base + "a\r\nX: y",
      base + "\n",
      base + "\t",
      base + "\x7F",
      base + "\x01",
      "http://127.0.0.1:" + std::to_string(server.port()) + " /"};
  for (const std::string& url : urls) {
    EXPECT_EQ(fetch(url).error, (Error{"tessel.url", CURLE_URL_MALFORMAT,
                                       "The URL holds a space or a control character."}));
  }
  EXPECT_EQ(server.connections(), 0);
}

TEST_F(URLAnswerTest, OtherUrlsAndMethodsAreRefused) {
  for (const char* url : {"", "hub", "http://", "/apps/", "http://hub:99999/"})
    EXPECT_TRUE(fetch(url).error) << url;
  for (const char* url : {"ftp://127.0.0.1/", "file:///etc/passwd", "gopher://127.0.0.1/"})
    EXPECT_EQ(fetch(url).error, (Error{"tessel.url", CURLE_UNSUPPORTED_PROTOCOL,
                                       "Only http and https URLs are supported."}));
  const ScriptedHTTPServer server{answering(okAnswer(""))};
  EXPECT_TRUE(fetch(server.url(), "DELETE").error);
  EXPECT_TRUE(fetch(server.url(), "GET / HTTP/1.1\r\nX: y").error);
  EXPECT_EQ(server.connections(), 0);
}

TEST_F(URLAnswerTest, AProxyOfTheEnvironmentIsNotUsed) {
  ::setenv("http_proxy", "http://127.0.0.1:1", 1);
  ::setenv("all_proxy", "http://127.0.0.1:1", 1);
  const ScriptedHTTPServer server{answering(okAnswer("direct"))};
  EXPECT_EQ(fetch(server.url()).body, "direct");
}

// Redirects: each hop counts down in the path, so that "/3" takes three more.
struct URLRedirectTest : URLSessionTest {
  static void redirect(ServerConnection& connection) {
    const std::string head = connection.receiveHead();
    const int left = std::atoi(head.c_str() + head.find('/') + 1);
    if (left == 0) {
      connection.send(okAnswer(head.substr(0, head.find(' '))));
      return;
    }
    connection.send("HTTP/1.1 302 Found\r\nLocation: /" + std::to_string(left - 1) +
                    "\r\nApplication-URL: http://no/\r\nContent-Length: 4\r\n\r\nhere");
  }
  const ScriptedHTTPServer server{redirect};
};

TEST_F(URLRedirectTest, SixteenAreFollowedAndOnlyTheLastAnswerCounts) {
  const Answer answer = fetch(server.url("/16"));
  EXPECT_FALSE(answer.error);
  EXPECT_EQ(answer.body, "GET");
  EXPECT_EQ(answer.response.statusCode, 200);
  EXPECT_EQ(answer.response.header("Application-URL"), std::nullopt);
  EXPECT_EQ(server.connections(), 17);
}

TEST_F(URLRedirectTest, TheSeventeenthIsAnError) {
  EXPECT_EQ(fetch(server.url("/17")).error,
            (Error{"tessel.url", CURLE_TOO_MANY_REDIRECTS, "The server redirects too often."}));
}

TEST_F(URLRedirectTest, APostBecomesAGetUnlessTheServerSaysNotTo) {
  EXPECT_EQ(fetch(server.url("/1"), "POST").body, "GET");
  const ScriptedHTTPServer keep{answering("HTTP/1.1 307 Temporary Redirect\r\nLocation: " +
                                          server.url("/0") + "\r\nContent-Length: 0\r\n\r\n")};
  EXPECT_EQ(fetch(keep.url(), "POST").body, "POST");
}

TEST_F(URLRedirectTest, OtherProtocolsAreNotFollowed) {
  for (const char* target : {"file:///etc/passwd", "ftp://127.0.0.1/x", "dict://127.0.0.1/x"}) {
    const ScriptedHTTPServer elsewhere{
        answering("HTTP/1.1 302 Found\r\nLocation: " + std::string{target} +
                  "\r\nContent-Length: 0\r\n\r\n")};
    const Answer answer = fetch(elsewhere.url());
    ASSERT_TRUE(answer.error) << target;
    EXPECT_EQ(answer.error->code, CURLE_UNSUPPORTED_PROTOCOL);
  }
}

TEST_F(URLRedirectTest, ALargeBodyOnTheWayIsNotKept) {
  const ScriptedHTTPServer elsewhere{[this](ServerConnection& connection) {
    connection.receiveHead();
    connection.send("HTTP/1.1 302 Found\r\nLocation: " + server.url("/0") + "\r\n\r\n");
    connection.send(std::string(1000, 'x'));
  }};
  EXPECT_EQ(fetch(elsewhere.url()).body, "GET");
}

struct URLTrustTest : URLSessionTest {
  const TestCertificate certificate;
  const ScriptedHTTPServer server{answering(okAnswer("secret")), &certificate};
};

TEST_F(URLTrustTest, AnUntrustedCertificateIsAnError) {
  ::unsetenv("SSL_CERT_FILE");
  const Answer answer = fetch(server.url());
  EXPECT_EQ(answer.error, (Error{"tessel.url", CURLE_PEER_FAILED_VERIFICATION,
                                 "The server's certificate is not trusted."}));
  EXPECT_EQ(answer.body, "");
}

TEST_F(URLTrustTest, SslCertFileNamesACertificateToTrust) {
  ::setenv("SSL_CERT_FILE", certificate.file().c_str(), 1);
  EXPECT_EQ(fetch(server.url()).body, "secret");
}

TEST_F(URLTrustTest, TheHostIsChecked) {
  const TestCertificate other{"DNS:another.example"};
  const ScriptedHTTPServer wrong{answering(okAnswer("secret")), &other};
  ::setenv("SSL_CERT_FILE", other.file().c_str(), 1);
  EXPECT_TRUE(fetch(wrong.url()).error);
}

}  // namespace
}  // namespace tessel::test
