#include <string>

#include <gtest/gtest.h>

#include "platform/qt/HttpResponseHead.h"

namespace quillard::qt {
namespace {

using State = HttpResponseHead::State;

struct Case {
  const char* name;
  std::string bytes;
  State state;
  int status = 0;
};

class ResponseHeads : public testing::TestWithParam<Case> {};

TEST_P(ResponseHeads, AreJudgedAlikeWholeAndByteByByte) {
  const Case& given = GetParam();
  HttpResponseHead whole;
  whole.add(given.bytes);
  HttpResponseHead piecemeal;
  for (const char c : given.bytes) piecemeal.add({&c, 1});
  for (const auto* head : {&whole, &piecemeal}) {
    EXPECT_EQ(head->state(), given.state);
    if (given.state == State::complete) {
      EXPECT_EQ(head->statusCode(), given.status);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ResponseHeads,
    testing::Values(Case{"Plain", "HTTP/1.1 204 No Content\r\nA: b\r\n\r\n", State::complete, 204},
                    Case{"OldVersion", "HTTP/1.0 200 OK\r\n\r\n", State::complete, 200},
                    Case{"WithoutHeaders", "HTTP/1.1 410 Gone\r\n\r\n", State::complete, 410},
                    Case{"WithoutReason", "HTTP/1.1 503\r\n\r\n", State::complete, 503},
                    Case{"BareLineFeeds", "HTTP/1.1 302 Found\nLocation: /\n\n", State::complete, 302},
                    Case{"WithBody", "HTTP/1.1 200 OK\r\n\r\n<html>", State::complete, 200},
                    Case{"InterimFirst",
                         "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Hints\r\nA: b\r\n\r\n"
                         "HTTP/1.1 201 Created\r\n\r\n",
                         State::complete, 201},
                    Case{"SwitchingProtocols", "HTTP/1.1 101 Switching\r\n\r\n", State::complete, 101},
                    Case{"Nothing", "", State::incomplete}, Case{"HalfAStatusLine", "HTTP/1.1 2", State::incomplete},
                    Case{"NoEmptyLine", "HTTP/1.1 200 OK\r\nA: b\r\n", State::incomplete},
                    Case{"InterimOnly", "HTTP/1.1 100 Continue\r\n\r\n", State::incomplete},
                    Case{"OtherProtocol", "SSH-2.0-OpenSSH_9\r\n", State::notHttp},
                    Case{"Html", "<html></html>", State::notHttp}, Case{"OneWrongByte", "X", State::notHttp},
                    Case{"NewerFraming", "HTTP/2 200\r\n\r\n", State::notHttp},
                    Case{"LetterInStatus", "HTTP/1.1 2x0 OK\r\n\r\n", State::notHttp},
                    Case{"FourDigits", "HTTP/1.1 2000 OK\r\n\r\n", State::notHttp},
                    Case{"StatusBelowAll", "HTTP/1.1 099 Odd\r\n\r\n", State::notHttp},
                    Case{"GarbageAfterInterim", "HTTP/1.1 100 Continue\r\n\r\nhello", State::notHttp},
                    Case{"Endless", "HTTP/1.1 200 OK\r\n" + std::string(70'000, 'a'), State::tooLong}),
    [](const auto& given) { return given.param.name; });

TEST(HttpResponseHead, DoesNotReadInterimAnswersForEver) {
  HttpResponseHead head;
  for (int i = 0; i < 10'000 && head.state() == State::incomplete; ++i) head.add("HTTP/1.1 102 Processing\r\n\r\n");
  EXPECT_EQ(head.state(), State::tooLong);
}

}  // namespace
}  // namespace quillard::qt
