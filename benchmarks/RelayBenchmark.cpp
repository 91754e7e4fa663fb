#include <array>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include "approvals/PendingApprovalJson.h"
#include "benchmarks/RatioReporter.h"
#include "foundation/StrictBase64.h"
#include "platform/simulated/SimulatedRandom.h"
#include "relay/RelayCommands.h"
#include "relay/RelayCrypto.h"
#include "support/SampleApprovals.h"

namespace quillard {
namespace {

using platform::simulated::Seed;
using platform::simulated::SimulatedRandom;

const Secret kSecret{std::string(64, 'e')};

// Prompts whose JSON is the length that is measured, 64 KiB, and a little more.
std::vector<PendingApproval> longList() {
  std::vector<PendingApproval> list;
  for (std::uint64_t id = 1; jsonText(toJson(list))->size() < 64 * 1024; ++id) list.push_back(samples::approval(id));
  return list;
}

std::string longText() { return pendingApprovalsText(longList())->substr(0, 64 * 1024); }

// ---- The same work with the cryptographic library alone, as short as it can be written

using Context = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

std::array<unsigned char, 32> bareKey() {
  std::array<unsigned char, 32> key{};
  EVP_Digest(kSecret.view().data(), kSecret.view().size(), key.data(), nullptr, EVP_sha256(), nullptr);
  return key;
}

std::vector<unsigned char> bareBox(const std::string& text, SimulatedRandom& random) {
  std::vector<unsigned char> box(text.size() + 28);
  (void)random.fillSecurely(std::span(box).first(12));
  const auto key = bareKey();
  const Context context{EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free};
  int length = 0;
  EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), box.data());
  EVP_EncryptUpdate(context.get(), box.data() + 12, &length, reinterpret_cast<const unsigned char*>(text.data()),
                    static_cast<int>(text.size()));
  EVP_EncryptFinal_ex(context.get(), box.data() + 12 + length, &length);
  EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, 16, box.data() + 12 + text.size());
  return box;
}

bool openBareBox(std::vector<unsigned char>& box, std::string& text) {
  const auto key = bareKey();
  const Context context{EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free};
  int length = 0;
  text.resize(box.size() - 28);
  EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.data(), box.data());
  EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, 16, box.data() + box.size() - 16);
  EVP_DecryptUpdate(context.get(), reinterpret_cast<unsigned char*>(text.data()), &length, box.data() + 12,
                    static_cast<int>(text.size()));
  return EVP_DecryptFinal_ex(context.get(), reinterpret_cast<unsigned char*>(text.data()) + length, &length) == 1;
}

void cipherAloneSeal(benchmark::State& state) {
  const auto text = longText();
  SimulatedRandom random{Seed{1}};
  for (auto _ : state) benchmark::DoNotOptimize(bareBox(text, random));
}

void cipherAloneOpen(benchmark::State& state) {
  SimulatedRandom random{Seed{1}};
  auto box = bareBox(longText(), random);
  std::string text;
  for (auto _ : state) {
    if (!openBareBox(box, text)) state.SkipWithError("The box did not open.");
  }
}

void librarySeal(benchmark::State& state) {
  const auto text = longText();
  SimulatedRandom random{Seed{1}};
  for (auto _ : state) {
    const auto box = bareBox(text, random);
    std::string base64((box.size() + 2) / 3 * 4 + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(base64.data()), box.data(), static_cast<int>(box.size()));
    benchmark::DoNotOptimize(base64);
  }
}

void libraryOpen(benchmark::State& state) {
  SimulatedRandom random{Seed{1}};
  const auto base64 = base64Text(bareBox(longText(), random));
  const std::size_t length = base64Bytes(base64)->size();
  std::string text;
  for (auto _ : state) {
    std::vector<unsigned char> box(base64.size() / 4 * 3);
    EVP_DecodeBlock(box.data(), reinterpret_cast<const unsigned char*>(base64.data()), static_cast<int>(base64.size()));
    box.resize(length);
    if (!openBareBox(box, text)) state.SkipWithError("The box did not open.");
  }
}

// ---- Ours

void seal(benchmark::State& state) {
  const auto text = longText();
  SimulatedRandom random{Seed{1}};
  for (auto _ : state) benchmark::DoNotOptimize(RelayCrypto::sealText(text, kSecret, random));
}

void open(benchmark::State& state) {
  SimulatedRandom random{Seed{1}};
  const auto payload = std::get<EncryptedRelayPayload>(RelayCrypto::sealText(longText(), kSecret, random));
  for (auto _ : state) {
    const auto text = RelayCrypto::open(payload, kSecret);
    if (!std::holds_alternative<std::string>(text)) state.SkipWithError("The box did not open.");
    benchmark::DoNotOptimize(text);
  }
}

void snapshotID(benchmark::State& state) {
  const auto list = longList();
  for (auto _ : state) benchmark::DoNotOptimize(RelayCrypto::snapshotID(list));
}

template <class Record>
void encode(benchmark::State& state, const Record& record) {
  for (auto _ : state) benchmark::DoNotOptimize(jsonText(toJson(record)));
}

template <class Record, class Read>
void decode(benchmark::State& state, const Record& record, Read read) {
  const auto text = jsonText(toJson(record)).value();
  for (auto _ : state) {
    const auto outcome = read(text);
    if (!std::holds_alternative<Record>(outcome)) state.SkipWithError("The message did not decode.");
    benchmark::DoNotOptimize(outcome);
  }
}

template <class Record, class Read>
void registerRecord(const std::string& name, const Record& record, Read read) {
  benchmark::RegisterBenchmark(("encode/" + name).c_str(), [=](benchmark::State& state) { encode(state, record); });
  benchmark::RegisterBenchmark(("decode/" + name).c_str(),
                               [=](benchmark::State& state) { decode(state, record, read); });
}

template <class Message>
void registerMessage(const std::string& name, const Message& message) {
  registerRecord(name, message, readRelayRecord<Message>);
}

template <class Command>
void registerCommand(const std::string& name, const Command& command) {
  registerRecord(name, command, readRelayCommand<Command>);
}

void registerRecords() {
  SimulatedRandom random{Seed{1}};
  const auto sealed = [&](const Json& json) {
    return std::get<EncryptedRelayPayload>(RelayCrypto::seal(json, kSecret, random));
  };
  const ApprovalRequestCommand request{samples::uuid(1), "Allow"};
  const ApprovalSuppressionCommand suppression{"suppress", samples::uuid(1), samples::uuid(2)};
  const ApprovalResultCommand result{samples::uuid(1), "Allow", "failed", "The button moved."};
  registerMessage("macSnapshot", MacSnapshotRelayMessage{.observedAt = samples::date(0),
                                                         .encryptedApprovals = sealed(toJson(longList())),
                                                         .snapshotID = "ax1:" + std::string(64, '0')});
  registerMessage("approvalResult",
                  ApprovalResultRelayMessage{
                      .decisionID = "d", .encryptedResult = sealed(toJson(result)), .issuedAt = samples::date(0)});
  registerMessage("unpairPhone", UnpairPhoneRelayMessage{.deviceID = "phone-1", .issuedAt = samples::date(0)});
  registerMessage("approvalRequest",
                  ApprovalRequestRelayMessage{
                      .decisionID = "d", .encryptedRequest = sealed(toJson(request)), .issuedAt = samples::date(0)});
  registerMessage(
      "approvalSuppression",
      ApprovalSuppressionRelayMessage{
          .decisionID = "d", .encryptedSuppression = sealed(toJson(suppression)), .issuedAt = samples::date(0)});
  registerMessage("phoneStatus",
                  PhoneStatusRelayMessage{
                      .phoneConnected = true, .phoneCount = 1, .phones = {{{"phone-1", "Anna's phone", "ios", true}}}});
  registerCommand("requestCommand", request);
  registerCommand("suppressionCommand", suppression);
  registerCommand("resultCommand", result);
}

BENCHMARK(cipherAloneSeal);
BENCHMARK(cipherAloneOpen);
BENCHMARK(librarySeal);
BENCHMARK(libraryOpen);
BENCHMARK(seal);
BENCHMARK(open);
BENCHMARK(snapshotID);

}  // namespace
}  // namespace quillard

int main(int argc, char** argv) {
  quillard::registerRecords();
  return quillard::benchmarks::runAndPrintRatios(
      argc, argv,
      {{"seal", "librarySeal", "the library's cipher and base64 for the same bytes: at most 1.3"},
       {"open", "libraryOpen", "the same: at most 1.3"},
       {"seal", "cipherAloneSeal", "what base64 adds to the bare cipher"},
       {"open", "cipherAloneOpen", "the same"}});
}
