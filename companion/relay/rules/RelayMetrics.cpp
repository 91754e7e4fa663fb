#include "companion/relay/rules/RelayMetrics.h"

#include <string_view>

namespace quillard::relayserver {
namespace {

class Page {
 public:
  void family(std::string_view name, std::string_view type, std::string_view help) {
    current = name;
    text += "# HELP " + current + " " + std::string(help) + "\n# TYPE " + current + " " + std::string(type) + "\n";
  }
  void value(std::uint64_t number) { text += current + " " + std::to_string(number) + "\n"; }
  void value(std::string_view label, std::string_view of, std::uint64_t number) {
    text += current + "{" + std::string(label) + "=\"" + std::string(of) + "\"} " + std::to_string(number) + "\n";
  }
  std::string text;

 private:
  std::string current;
};

void writeGauges(Page& page, const RelayMetrics& metrics) {
  page.family("quillard_relay_connections", "gauge", "Connections that are open now.");
  page.value("kind", "mac", metrics.agents);
  page.value("kind", "phone", metrics.phones);
  page.value("kind", "http", metrics.requests);
  page.value("kind", "tunnel", metrics.tunnels);
  page.family("quillard_relay_pairings", "gauge", "Pairings that are kept.");
  page.value(metrics.pairings);
  page.family("quillard_relay_snapshot_bytes", "gauge", "Memory that the newest snapshots take.");
  page.value(metrics.snapshotBytes);
  page.family("quillard_relay_memory_bytes", "gauge", "Memory that clients make the relay keep, snapshots included.");
  page.value(metrics.memoryBytes);
}

}  // namespace

std::string prometheusText(const RelayMetrics& metrics) {
  Page page;
  writeGauges(page, metrics);
  page.family("quillard_relay_messages_total", "counter", "Messages taken.");
  for (const auto& [type, count] : metrics.messages) page.value("type", type, count);
  page.family("quillard_relay_answers_total", "counter", "HTTP answers; 101 are WebSockets.");
  for (const auto& [status, count] : metrics.answers) page.value("status", std::to_string(status), count);
  page.family("quillard_relay_closes_total", "counter",
              "WebSockets that the relay has closed; 0: without a close message.");
  for (const auto& [code, count] : metrics.closes) page.value("code", std::to_string(code), count);
  page.family("quillard_relay_receipts_total", "counter", "Decisions of phones, by whether an agent was handed them.");
  page.value("delivered", "true", metrics.delivered);
  page.value("delivered", "false", metrics.notDelivered);
  page.family("quillard_relay_message_bytes_total", "counter", "Bytes of messages.");
  page.value("direction", "received", metrics.bytesReceived);
  page.value("direction", "sent", metrics.bytesSent);
  page.family("quillard_relay_store_failures_total", "counter", "How often the database could not be used.");
  page.value(metrics.storeFailures);
  page.family("quillard_relay_dropped_for_memory_total", "counter", "Connections that were ended for want of memory.");
  page.value(metrics.droppedForMemory);
  return page.text;
}

}  // namespace quillard::relayserver
