#include "companion/relay/app/RelaySetup.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <CLI/CLI.hpp>
#include <openssl/rand.h>

namespace quillard::relayserver {
namespace {

namespace fs = std::filesystem;

constexpr const char* kConfiguration = "etc/quillard-relay.conf";
constexpr const char* kKeyFile = "etc/quillard-relay/registration-key";
constexpr const char* kDropIn = "etc/systemd/system/quillard-relay.service.d/setup.conf";
constexpr const char* kCaddyFile = "etc/quillard-relay/Caddyfile";

CommandLineMessage problem(const std::string& text) { return {text + "\n", ExitCode::cannotDoHere}; }

bool isDomain(const std::string& text) {
  const auto isAllowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.';
  };
  return text.size() <= 253 && text.find('.') != std::string::npos && text.front() != '.' && text.back() != '.' &&
         std::all_of(text.begin(), text.end(), isAllowed);
}

std::string newKey() {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) return "";
  std::string key;
  for (const unsigned char byte : bytes) {
    key += "0123456789abcdef"[byte >> 4U];
    key += "0123456789abcdef"[byte & 15U];
  }
  return key;
}

// False: it cannot be written. `isSecret`: readable for its owner only.
bool write(const fs::path& file, const std::string& text, bool isSecret = false) {
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  fs::remove(file, error);
  std::ofstream stream(file);
  if (isSecret) fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write, error);
  if (!isSecret) fs::permissions(file, fs::perms(0644), error);
  stream << text;
  stream.close();
  return !stream.fail() && !error;
}

// Quoted as the configuration file has it; the paths hold neither quotes nor backslashes.
std::string quoted(const std::string& text) { return "\"" + text + "\""; }

std::string configurationText(const RelaySetupOptions& options) {
  std::ostringstream text;
  text << "# Written by quillard-relay setup for " << options.domain << ". See quillard-relay --help.\n";
  if (options.tlsCertificate.empty()) {
    text << "# A proxy on this computer does TLS.\nlisten = \"127.0.0.1:8080\"\nbehind-proxy = true\n";
  } else {
    text << "listen = [\"0.0.0.0:443\", \"[::]:443\"]\n"
         << "# Copies that the service makes of " << options.tlsCertificate
         << " and its key when it starts or reloads.\n"
         << "tls-certificate = \"/run/quillard-relay/certificate.pem\"\n"
         << "tls-key = \"/run/quillard-relay/key.pem\"\n";
  }
  text << "database = \"/var/lib/quillard-relay/relay.db\"\n";
  if (!options.page.empty()) text << "page = " << quoted(options.page) << "\n";
  if (options.wantsRegistrationKey) {
    text << "registration-key-file = \"/run/credentials/quillard-relay.service/registration-key\"\n";
  }
  return text.str();
}

// What the unit needs beyond itself. The certificate's key belongs to root, and the service to a user of its own: root
// copies it, at each start and reload, so that a reload takes the newest one.
std::string dropInText(const RelaySetupOptions& options) {
  std::ostringstream text;
  text << "# Written by quillard-relay setup.\n[Service]\n";
  if (options.wantsRegistrationKey) text << "LoadCredential=registration-key:/" << kKeyFile << "\n";
  if (options.tlsCertificate.empty()) return text.str();
  const std::string copy = "install -m 0400 -o \"$(stat -Lc %%u /run/quillard-relay)\" ";
  const std::string both = copy + options.tlsCertificate + " /run/quillard-relay/certificate.pem && " + copy +
                           options.tlsKey + " /run/quillard-relay/key.pem";
  text << "RuntimeDirectory=quillard-relay\nRuntimeDirectoryMode=0700\n"
       << "ExecStartPre=+/bin/sh -c '" << both << "'\n"
       << "ExecReload=\nExecReload=+/bin/sh -c '" << both << " && kill -HUP $MAINPID'\n"
       << "# Port 443.\nAmbientCapabilities=CAP_NET_BIND_SERVICE\nCapabilityBoundingSet=CAP_NET_BIND_SERVICE\n"
       << "PrivateUsers=no\n";
  return text.str();
}

std::string caddyText(const RelaySetupOptions& options) {
  return options.domain +
         " {\n  header Strict-Transport-Security \"max-age=31536000\"\n  reverse_proxy 127.0.0.1:8080\n}\n";
}

std::string nextSteps(const RelaySetupOptions& options, const std::string& key) {
  std::ostringstream text;
  text << "Written: /" << kConfiguration << "\n\nOn this server:\n";
  if (options.tlsCertificate.empty()) {
    text << "  1. Let Caddy do TLS: add these lines to /etc/caddy/Caddyfile (they are in /" << kCaddyFile << ", too),\n"
         << "     and run: systemctl reload caddy\n\n";
    std::istringstream lines(caddyText(options));
    for (std::string line; std::getline(lines, line);) text << "       " << line << "\n";
    text << "\n";
  } else {
    text << "  1. Whenever the certificate is renewed: systemctl reload quillard-relay\n";
  }
  text << "  2. systemctl daemon-reload && systemctl enable --now quillard-relay\n"
       << "  3. From another computer: quillard-relay check https://" << options.domain
       << (key.empty() ? "" : " --registration-key " + key) << "\n\n"
       << "On the computer whose prompts you want on your phone, start Quillard with these two in its environment:\n"
       << "  QUILLARD_RELAY_URL=wss://" << options.domain << "/ws" << (key.empty() ? "" : "?registration-key=" + key)
       << "\n  QUILLARD_PAIRING_ID=home\n"
       << "Then show its pairing code, and open https://" << options.domain << "/ on the phone.\n";
  return text.str();
}

// What is wrong with what the options name; empty: nothing.
std::string problemWith(const RelaySetupOptions& options) {
  if (!isDomain(options.domain)) return "--domain " + options.domain + ": that is no name such as relay.example.";
  if (options.tlsCertificate.empty() != options.tlsKey.empty()) return "--tls-certificate and --tls-key go together.";
  for (const auto& file : {options.tlsCertificate, options.tlsKey}) {
    const bool isUsable = file.empty() || (fs::path(file).is_absolute() && fs::exists(file));
    if (!isUsable) return file + ": there is no such file. Give its full path.";
    if (file.find_first_of(" \"'\\$%") != std::string::npos) return file + ": such a path cannot stand in a unit.";
  }
  if (!options.page.empty() && !fs::exists(options.page + "/index.html")) return options.page + " holds no page.";
  return "";
}

}  // namespace

std::variant<RelaySetupOptions, CommandLineMessage> readSetupOptions(const std::vector<std::string>& arguments) {
  CLI::App program("Writes the configuration of a relay under a domain of yours, checks it, and says what to do next.",
                   "quillard-relay setup");
  RelaySetupOptions options;
  // Installed beside the program.
  std::error_code error;
  const auto page = fs::read_symlink("/proc/self/exe", error).parent_path() / "../share/quillard-relay/page";
  if (fs::exists(page / "index.html", error)) options.page = fs::canonical(page, error).string();
  program.add_option("--domain", options.domain, "The name under which phones reach the relay, such as relay.example")
      ->required();
  program.add_option("--tls-certificate", options.tlsCertificate,
                     "A certificate of your own, with those between it and its root; without one, Caddy does TLS");
  program.add_option("--tls-key", options.tlsKey, "Its private key");
  program.add_flag("--registration-key", options.wantsRegistrationKey, "Make a key that agents have to show");
  program.add_flag("--replace", options.replaces, "Write over an earlier configuration");
  program.add_option("--page", options.page, "The folder of the phones' page")->capture_default_str();
  program.add_option("--root", options.root, "")->group("");
  std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
  try {
    program.parse(std::move(reversed));
  } catch (const CLI::ParseError& end) {
    std::ostringstream printed;
    const bool isWrong = program.exit(end, printed, printed) != 0;
    return CommandLineMessage{printed.str(), isWrong ? ExitCode::wrongUsage : ExitCode::success};
  }
  return options;
}

CommandLineMessage setUpRelay(const RelaySetupOptions& options) {
  if (const auto wrong = problemWith(options); !wrong.empty()) return {wrong + "\n", ExitCode::wrongUsage};
  const fs::path root(options.root);
  const auto configuration = root / kConfiguration;
  if (fs::exists(configuration) && !options.replaces) {
    return problem(configuration.string() + " is there already. --replace writes over it.");
  }
  const std::string key = options.wantsRegistrationKey ? newKey() : "";
  bool isWritten = write(configuration, configurationText(options));
  if (!key.empty()) isWritten = isWritten && write(root / kKeyFile, key + "\n", /*isSecret=*/true);
  const bool needsDropIn = !key.empty() || !options.tlsCertificate.empty();
  if (needsDropIn) isWritten = isWritten && write(root / kDropIn, dropInText(options));
  std::error_code ignored;
  if (!needsDropIn) fs::remove(root / kDropIn, ignored);
  if (options.tlsCertificate.empty()) isWritten = isWritten && write(root / kCaddyFile, caddyText(options));
  if (!isWritten) return problem("The configuration cannot be written below " + options.root + ": are you root?");
  const auto read = readConfiguration({"--config", configuration.string()});
  if (const auto* wrong = std::get_if<CommandLineMessage>(&read)) return problem(wrong->text);
  return {nextSteps(options, key), ExitCode::success};
}

}  // namespace quillard::relayserver
