#include <gtest/gtest.h>

#include "platform/qt/WebSocketHandshake.h"

namespace quillard::qt {
namespace {

const QByteArray kKey = "dGhlIHNhbXBsZSBub25jZQ==";
const std::string kStatus = "HTTP/1.1 101 Switching Protocols\r\n";
const std::string kUpgrade = "Upgrade: websocket\r\n";
const std::string kConnection = "Connection: Upgrade\r\n";
const std::string kAccept = "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n";

bool isAccepted(const std::string& fields) { return isAcceptedHandshake(kStatus + fields + "\r\n", kKey); }

TEST(WebSocketHandshake, AsksAsTheStandardHasIt) {
  const QUrl url("wss://relay.example/ws?pairing=a%20b");
  EXPECT_EQ(handshakeRequest(url, {{"authorization", "Bearer x"}}, kKey).toStdString(),
            "GET /ws?pairing=a%20b HTTP/1.1\r\nHost: relay.example\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
            "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nauthorization: Bearer x\r\n"
            "\r\n");
  EXPECT_EQ(
      handshakeRequest(QUrl("ws://[::1]:8080"), {}, kKey).toStdString().find("GET / HTTP/1.1\r\nHost: [::1]:8080\r\n"),
      0U);
}

TEST(WebSocketHandshake, IsAcceptedByTheAnswerOfTheStandardOnly) {
  EXPECT_TRUE(isAccepted(kUpgrade + kConnection + kAccept));
  EXPECT_TRUE(isAccepted("UPGRADE:WebSocket\r\nconnection: keep-alive ,  UPGRADE\r\n" + kAccept));
  EXPECT_TRUE(isAccepted("Connection: keep-alive\r\n" + kUpgrade + kConnection + kAccept + "X: y\r\n"));
  for (const auto& fields : {
           kUpgrade + kConnection,
           kUpgrade + kAccept,
           kConnection + kAccept,
           "Upgrade: websockets\r\n" + kConnection + kAccept,
           kUpgrade + "Connection: UpgradeX\r\n" + kAccept,
           kUpgrade + kConnection + kAccept + kAccept,
           kUpgrade + kConnection + "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=, x\r\n",
           kUpgrade + kConnection + "Sec-WebSocket-Accept: dGhlIHNhbXBsZSBub25jZQ==\r\n",
           kUpgrade + kConnection + "Sec-WebSocket-Accept: S3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n",
           kUpgrade + kConnection + "Sec-WebSocket-Accept: \r\n",
           kUpgrade + kConnection + kAccept + "Sec-WebSocket-Extensions: permessage-deflate\r\n",
           kUpgrade + kConnection + kAccept + "Sec-WebSocket-Protocol: quillard.v1\r\n",
           std::string(),
       }) {
    EXPECT_FALSE(isAccepted(fields)) << fields;
  }
}

}  // namespace
}  // namespace quillard::qt
