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
  // `buckets`: how many took at most so much, of `count` in all.
  void histogram(std::string_view name, std::string_view help, const std::map<double, std::uint64_t>& buckets,
                 std::uint64_t count, double sum) {
    family(name, "histogram", help);
    const std::string plain = current;
    current = plain + "_bucket";
    for (const auto& [bound, within] : buckets) {
      std::string shown = std::to_string(bound);
      shown.erase(shown.find_last_not_of('0') + 1);
      if (shown.back() == '.') shown.pop_back();
      value("le", shown, within);
    }
    value("le", "+Inf", count);
    text += plain + "_sum " + std::to_string(sum) + "\n" + plain + "_count " + std::to_string(count) + "\n";
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

void writePushes(Page& page, const RelayMetrics& metrics) {
  page.family("quillard_relay_pushes_total", "counter", "Pushes that agents asked for, by what became of them.");
  for (const auto& [result, count] : metrics.pushes) page.value("result", result, count);
  page.family("quillard_relay_push_posts_total", "counter", "Requests to push services, each attempt.");
  page.value(metrics.pushPosts);
  page.family("quillard_relay_pushes_waiting", "gauge", "Pushes that wait for their turn or their push service.");
  page.value(metrics.pushesWaiting);
  const auto accepted = metrics.pushes.find("accepted");
  page.histogram("quillard_relay_push_seconds", "From an agent's message until a push service had it.",
                 metrics.pushSeconds, accepted == metrics.pushes.end() ? 0 : accepted->second, metrics.pushSecondsSum);
}

void writeCluster(Page& page, const ClusterMetrics& cluster) {
  page.family("quillard_relay_cluster_serving", "gauge", "1: the relay serves as a part of its cluster. 0: nobody.");
  page.value(cluster.isServing ? 1 : 0);
  page.family("quillard_relay_cluster_admitting", "gauge", "1: it knows enough to let clients in. 0: they get 503.");
  page.value(cluster.isFresh ? 1 : 0);
  page.family("quillard_relay_cluster_fences_total", "counter", "How often it has closed all connections.");
  page.value(cluster.fences);
  page.family("quillard_relay_cluster_unsaved_revocations", "gauge", "Revocations that are on its own disk alone.");
  page.value(cluster.unsavedRevocations);
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
  writePushes(page, metrics);
  if (metrics.cluster) writeCluster(page, *metrics.cluster);
  return page.text;
}

}  // namespace quillard::relayserver
