#include "companion/relay/app/RelaySetup.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <openssl/rand.h>

#include "companion/relay/app/Command.h"
#include "companion/relay/app/SetupFiles.h"
#include "companion/relay/push/VapidKey.h"
#include "companion/relay/rules/RelayNames.h"

namespace quillard::relayserver {
namespace {

namespace fs = std::filesystem;

constexpr const char* kConfiguration = "etc/quillard-relay.conf";
constexpr const char* kKeyFile = "etc/quillard-relay/registration-key";
constexpr const char* kDropIn = "etc/systemd/system/quillard-relay.service.d/setup.conf";
constexpr const char* kCaddyFile = "etc/quillard-relay/Caddyfile";
constexpr const char* kCopyScript = "etc/quillard-relay/copy-certificate";

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

std::string pushContact(const RelaySetupOptions& options) {
  return options.pushContact.empty() ? "https://" + options.domain : options.pushContact;
}

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
  text
      << "# Phones that sleep are woken by push services, which may write to this address. Without the line, none is.\n"
      << (options.wakesNoPhones ? "# " : "") << "push-contact = \"" << pushContact(options) << "\"\n";
  if (!options.page.empty()) text << "page = \"" << options.page << "\"\n";
  if (options.wantsRegistrationKey) {
    text << "registration-key-file = \"/run/credentials/quillard-relay.service/registration-key\"\n";
  }
  return text.str();
}

// The certificate's key belongs to root, and the service to a user of its own: root runs this at each start and reload,
// so that a reload takes the newest one.
std::string copyScriptText(const RelaySetupOptions& options) {
  std::ostringstream text;
  text << "#!/bin/sh\n# Written by quillard-relay setup: lets the relay read its certificate and the key.\n"
       << "set -eu\numask 077\ncd /run/quillard-relay\n"
       << "owner=$(stat -Lc %u .)\n";
  const auto copy = [&](const std::string& from, const char* to) {
    text << "install -m 0400 -o \"$owner\" -- " << shellQuoted(from) << " " << to << ".new\n";
  };
  copy(options.tlsCertificate, "certificate.pem");
  copy(options.tlsKey, "key.pem");
  text << "mv -f certificate.pem.new certificate.pem\nmv -f key.pem.new key.pem\n";
  return text.str();
}

// What the unit needs beyond itself.
std::string dropInText(const RelaySetupOptions& options) {
  std::ostringstream text;
  text << "# Written by quillard-relay setup.\n[Service]\n";
  if (options.wantsRegistrationKey) text << "LoadCredential=registration-key:/" << kKeyFile << "\n";
  if (options.tlsCertificate.empty()) return text.str();
  text << "RuntimeDirectory=quillard-relay\nRuntimeDirectoryMode=0700\n"
       << "ExecStartPre=+/" << kCopyScript << "\n"
       << "ExecReload=\nExecReload=+/" << kCopyScript << "\nExecReload=/bin/kill -HUP $MAINPID\n"
       << "# Port 443.\nAmbientCapabilities=CAP_NET_BIND_SERVICE\nCapabilityBoundingSet=CAP_NET_BIND_SERVICE\n"
       << "PrivateUsers=no\n";
  return text.str();
}

std::string caddyText(const RelaySetupOptions& options) {
  return options.domain +
         " {\n  header Strict-Transport-Security \"max-age=31536000\"\n  reverse_proxy 127.0.0.1:8080\n}\n";
}

std::string stepsForTls(const RelaySetupOptions& options) {
  std::ostringstream text;
  if (!options.tlsCertificate.empty()) {
    text << "  1. Whenever the certificate is renewed: systemctl reload quillard-relay\n";
  } else if (options.isBehindTunnel) {
    text << "  1. Let your private network or tunnel offer https://" << options.domain << ", with a certificate that\n"
         << "     phones trust, and pass it to http://127.0.0.1:8080: WebSockets, too, also when they are silent for "
            "90 s.\n";
  } else {
    text << "  1. Let Caddy do TLS: add these lines to /etc/caddy/Caddyfile (they are in /" << kCaddyFile << ", too),\n"
         << "     and run: systemctl reload caddy\n\n";
    std::istringstream lines(caddyText(options));
    for (std::string line; std::getline(lines, line);) text << "       " << line << "\n";
    text << "\n";
  }
  return text.str();
}

std::string nextSteps(const RelaySetupOptions& options, const std::string& key) {
  std::ostringstream text;
  text << "Written: /" << kConfiguration << "\n\nOn this server:\n"
       << stepsForTls(options) << "  2. systemctl daemon-reload && systemctl enable --now quillard-relay\n"
       << "     and where it runs already: systemctl restart quillard-relay\n"
       << "  3. From another computer: quillard-relay check https://" << options.domain
       << (key.empty() ? "" : " --registration-key " + key) << "\n\n"
       << "On the computer whose prompts you want on your phone:\n"
       << "  quillard relay set " << options.domain << (key.empty() ? "" : " --key " + key) << "\n"
       << "Then show its pairing code, and open https://" << options.domain << "/ on the phone.\n";
  return text.str();
}

bool isControl(char c) { return static_cast<unsigned char>(c) < ' '; }

// What is wrong with what the options name; empty: nothing.
std::string problemWith(const RelaySetupOptions& options) {
  if (!isDomain(options.domain)) return "--domain " + options.domain + ": that is no name such as relay.example.";
  if (!isPushContact(pushContact(options))) {
    return "--push-contact " + options.pushContact +
           ": that is no plain mailto:you@relay.example or https://relay.example.";
  }
  if (options.isBehindTunnel && !options.tlsKey.empty()) return "--tunnel and a certificate exclude each other.";
  if (options.tlsCertificate.empty() != options.tlsKey.empty()) return "--tls-certificate and --tls-key go together.";
  for (const auto& file : {options.tlsCertificate, options.tlsKey}) {
    const bool isUsable = file.empty() || (fs::path(file).is_absolute() && fs::exists(file));
    if (!isUsable) return file + ": there is no such file. Give its full path.";
    if (std::any_of(file.begin(), file.end(), isControl)) return "A path with a line break in it cannot be used.";
  }
  if (!options.page.empty() && !fs::exists(options.page + "/index.html")) return options.page + " holds no page.";
  return "";
}

// One that was made before stays good: agents may have it.
std::string keyFor(const fs::path& root) {
  std::ifstream stream(root / kKeyFile);
  std::string earlier;
  return std::getline(stream, earlier) && isRegistrationKey(earlier) ? earlier : newKey();
}

// Empty: none of them is there.
std::string earlierFile(const std::vector<SetupFile>& files, const std::vector<fs::path>& others) {
  std::error_code error;
  for (const auto& file : files) {
    if (fs::exists(fs::symlink_status(file.path, error))) return file.path.string();
  }
  for (const auto& path : others) {
    if (fs::exists(fs::symlink_status(path, error))) return path.string();
  }
  return "";
}

void describe(CLI::App& program, RelaySetupOptions& options) {
  program.description(
      "Writes the configuration of a relay under a domain of yours, checks it, and says what to do next.");
  program.add_option("--domain", options.domain, "The name under which phones reach the relay, such as relay.example")
      ->required();
  program
      .add_option("--tls-certificate", options.tlsCertificate,
                  "A certificate of your own, with those between it and its root; without one, Caddy does TLS")
      ->type_name("FILE");
  program.add_option("--tls-key", options.tlsKey, "Its private key")->type_name("FILE");
  program.add_flag("--tunnel", options.isBehindTunnel,
                   "A private network or tunnel of your choice does TLS, and no Caddy is needed");
  program.add_flag("--registration-key", options.wantsRegistrationKey, "Make a key that agents have to show");
  program
      .add_option("--push-contact", options.pushContact,
                  "Whom push services may write to; without it, the address of the relay")
      ->type_name("TEXT");
  program.add_flag("--no-push", options.wakesNoPhones, "Wake no phones that sleep");
  program.add_flag("--replace", options.replaces, "Put an earlier configuration aside, as FILE.old");
  program.add_option("--page", options.page, "The folder of the phones' page")
      ->type_name("FOLDER")
      ->capture_default_str();
  program.add_option("--root", options.root, "")->group("");
}

constexpr Command<RelaySetupOptions> kSetup{"quillard-relay setup", describe};

}  // namespace

void withSetupCommandLine(const UseCommandLine& use) { kSetup.show(use); }

std::variant<RelaySetupOptions, CommandLineMessage> readSetupOptions(const std::vector<std::string>& arguments) {
  RelaySetupOptions options;
  // Installed beside the program.
  std::error_code error;
  const auto page = fs::read_symlink("/proc/self/exe", error).parent_path() / "../share/quillard-relay/page";
  if (fs::exists(page / "index.html", error)) options.page = fs::canonical(page, error).string();
  return kSetup.read(arguments, std::move(options));
}

CommandLineMessage setUpRelay(const RelaySetupOptions& options) {
  if (const auto wrong = problemWith(options); !wrong.empty()) return {wrong + "\n", ExitCode::wrongUsage};
  const fs::path root(options.root);
  const std::string key = options.wantsRegistrationKey ? keyFor(root) : "";
  std::vector<SetupFile> files{{root / kConfiguration, configurationText(options)}};
  std::vector<fs::path> obsolete;
  const auto addIf = [&](bool isWanted, const char* path, const std::string& text, unsigned mode = 0644) {
    if (isWanted) {
      files.push_back({root / path, text, mode});
    } else {
      obsolete.push_back(root / path);
    }
  };
  const bool hasCertificate = !options.tlsCertificate.empty();
  addIf(!key.empty(), kKeyFile, key + "\n", 0600);
  addIf(!key.empty() || hasCertificate, kDropIn, dropInText(options));
  addIf(hasCertificate, kCopyScript, copyScriptText(options), 0755);
  addIf(!hasCertificate && !options.isBehindTunnel, kCaddyFile, caddyText(options));
  if (const auto standing = earlierFile(files, obsolete); !standing.empty() && !options.replaces) {
    return problem(standing + " is there already. --replace puts it aside.");
  }
  SetupFiles together(std::move(files));
  if (const auto why = together.prepare(); !why.empty()) return problem(why + ". Are you root?");
  const auto read = readConfiguration({"--config", SetupFiles::preparedName(root / kConfiguration).string()});
  if (const auto* wrong = std::get_if<CommandLineMessage>(&read)) return problem(wrong->text);
  if (std::get<RelayConfiguration>(read).page != options.page) {
    return problem(options.page + ": such a path cannot stand in a configuration file.");
  }
  if (const auto why = together.commit(obsolete); !why.empty()) return problem(why);
  return {nextSteps(options, key), ExitCode::success};
}

}  // namespace quillard::relayserver
