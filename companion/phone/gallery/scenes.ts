// Made-up states of the phone, one for each thing that the page has to draw. The gallery shows them, the README's pictures
// are made from them, and the unit tests of the views stand on them.
import type { Computer, Outcome, PhoneAlerts, PhoneState, Prompt } from "../src/core/model";

/** The moment at which all of it takes place. */
export const kSceneNow = Date.UTC(2026, 2, 1, 12, 0, 0);

const kSecond = 1000;
const kMinute = 60 * kSecond;
const kHour = 60 * kMinute;

function uuid(number: number): string {
  return `00000000-0000-4000-8000-${String(number).padStart(12, "0")}`;
}

export function prompt(number: number, parts: Partial<Prompt> = {}): Prompt {
  return {
    id: uuid(number),
    suppressionID: uuid(500 + number),
    detectedAt: kSceneNow - 42 * kSecond,
    appName: "Terminal",
    bundleIdentifier: "org.example.terminal",
    windowTitle: "“Terminal” would like to access files in your Documents folder.",
    messageLines: ["The build script asked for it, to read the project that is kept there."],
    reason: "A dialog with the buttons of a permission prompt",
    buttons: [
      { label: "Don’t Allow", isRecommended: false, kind: "dismiss" },
      { label: "Allow", isRecommended: true, kind: "grant" },
    ],
    requiresDirectAccess: false,
    isFallbackDetection: false,
    ...parts,
  };
}

export function computer(parts: Partial<Computer> = {}): Computer {
  return {
    pairingID: "studio",
    name: "Studio Mac",
    pairedAt: kSceneNow - 40 * 24 * kHour,
    relay: { kind: "connected" },
    isComputerConnected: true,
    lastReceivedAt: kSceneNow - 3 * kSecond,
    accessibilityTrusted: true,
    prompts: [],
    hasUnreadableSnapshot: false,
    outcomes: [],
    suppressions: [],
    ...parts,
  };
}

export function phone(...computers: Computer[]): PhoneState {
  return { phase: "ready", deviceName: "Ann’s iPhone", computers };
}

export function withAlerts(parts: Partial<PhoneAlerts>, ...computers: Computer[]): PhoneState {
  const alerts = { support: "available", shows: "prompt", isBusy: false, ...parts } as const;
  return { ...phone(...computers), alerts };
}

const kInstall = prompt(2, {
  detectedAt: kSceneNow - 4 * kMinute,
  appName: "Updater",
  bundleIdentifier: "org.example.updater",
  windowTitle: "Install 3 updates and restart?",
  messageLines: ["Documents that are open will be saved. The restart takes about five minutes."],
  buttons: [
    { label: "Later", isRecommended: false, kind: "postpone" },
    { label: "Install", isRecommended: false, kind: "grant" },
  ],
});

// Of a program without a window.
const kQuestion = prompt(20, {
  appName: "backup",
  windowTitle: "Delete the old backups?",
  messageLines: ["Asked by /usr/bin/backup, process 4242, in /srv", "214 GB on tank/backup"],
  reason: "A program asks",
  buttons: [
    { label: "Delete", isRecommended: false, kind: "grant" },
    { label: "Keep", isRecommended: false, kind: "dismiss" },
  ],
});

const kKeychain = prompt(3, {
  detectedAt: kSceneNow - 20 * kSecond,
  appName: "Mail",
  bundleIdentifier: "org.example.mail",
  windowTitle: "Mail wants to use your confidential information.",
  messageLines: ["To allow this, enter the password of your keychain."],
  buttons: [
    { label: "Always Allow", isRecommended: false, kind: "grant" },
    { label: "Deny", isRecommended: false, kind: "dismiss" },
    { label: "Allow", isRecommended: true, kind: "grant" },
  ],
  requiresDirectAccess: true,
  directAccessReason: "It asks for a password, which is only ever typed at the computer.",
});

export const kOutcomes: readonly Outcome[] = [
  {
    key: "1",
    approvalID: uuid(101),
    at: kSceneNow - 8 * kSecond,
    appName: "Terminal",
    windowTitle: "“Terminal” would like to access files in your Documents folder.",
    buttonLabel: "Allow",
    status: "accepted",
  },
  {
    key: "2",
    approvalID: uuid(102),
    at: kSceneNow - 12 * kMinute,
    appName: "Updater",
    windowTitle: "Install 3 updates and restart?",
    buttonLabel: "Later",
    status: "accepted",
    otherPhone: "Ann’s iPad",
  },
  {
    key: "3",
    approvalID: uuid(103),
    at: kSceneNow - 47 * kMinute,
    appName: "Browser",
    windowTitle: "Allow downloads from several sites?",
    status: "goneByItself",
  },
  {
    key: "4",
    approvalID: uuid(104),
    at: kSceneNow - 2 * kHour,
    appName: "Mail",
    windowTitle: "Mail wants to use your confidential information.",
    buttonLabel: "Deny",
    status: "failed",
    error: "The button did not react.",
  },
  {
    key: "5",
    approvalID: uuid(105),
    at: kSceneNow - 5 * kHour,
    appName: "Notes",
    windowTitle: "Rate this program?",
    status: "suppressed",
  },
];

const kManyButtons = prompt(4, {
  windowTitle: "Several files of the same name exist already in the folder to which they are copied",
  messageLines: Array.from(
    { length: 40 },
    (_, index) => `Item ${index + 1}: /home/ann/Pictures/2026/spring/IMG_${4000 + index}.jpeg`,
  ),
  buttons: [
    { label: "Replace all of them, the newer ones too", isRecommended: false, kind: "grant" },
    { label: "Replace the older ones", isRecommended: false, kind: "grant" },
    { label: "Keep both", isRecommended: true, kind: "grant" },
    { label: "Rename", isRecommended: false, kind: "grant" },
    { label: "Ask for each", isRecommended: false, kind: "grant" },
    { label: "Skip", isRecommended: false, kind: "postpone" },
    { label: "Cancel", isRecommended: false, kind: "dismiss" },
    { label: "Averyveryverylongwordwithoutanyplacetobreakit", isRecommended: false, kind: "grant" },
  ],
});

function decided(
  status: NonNullable<Prompt["decision"]>["status"],
  error?: string,
): Prompt["decision"] & object {
  return {
    decisionID: uuid(900),
    approvalID: uuid(1),
    buttonLabel: "Allow",
    status,
    decidedAt: kSceneNow - 2 * kSecond,
    ...(error === undefined ? {} : { error }),
  };
}

const kOlder = kOutcomes.slice(1);

/** By name. */
export const scenes: Readonly<Record<string, PhoneState>> = {
  welcome: phone(),
  loading: { phase: "loading", deviceName: "iPhone", computers: [] },
  unavailable: {
    phase: "unavailable",
    problem: "This browser keeps no data of this page, so no keys can be kept.",
    deviceName: "iPhone",
    computers: [],
  },
  prompts: phone(computer({ prompts: [prompt(1), kInstall], outcomes: kOutcomes.slice(2, 4) })),
  directAccess: phone(computer({ prompts: [kKeychain], outcomes: kOlder.slice(0, 3) })),
  outcome: phone(computer({ outcomes: kOutcomes.slice(0, 4) })),
  empty: phone(computer()),
  paused: phone(computer({ pause: { until: kSceneNow + 6 * kHour } })),
  alike: phone(computer({ prompts: [prompt(1), prompt(6), kInstall] })),
  notConnected: phone(
    computer({
      isComputerConnected: false,
      lastReceivedAt: kSceneNow - 3 * kMinute,
      prompts: [prompt(1, { detectedAt: kSceneNow - 4 * kMinute })],
    }),
  ),
  relayAway: phone(
    computer({
      relay: { kind: "waiting", nextAttemptAt: kSceneNow + 7 * kSecond },
      lastReceivedAt: kSceneNow - 50 * kSecond,
      prompts: [prompt(1)],
    }),
  ),
  offline: phone(
    computer({ relay: { kind: "offline" }, lastReceivedAt: kSceneNow - 9 * kMinute, prompts: [] }),
  ),
  takenOver: phone(computer({ relay: { kind: "takenOver" } })),
  revoked: phone(computer({ relay: { kind: "revoked" } })),
  removed: phone(computer({ relay: { kind: "removed" } })),
  refused: phone(computer({ relay: { kind: "refused" } })),
  untrusted: phone(computer({ accessibilityTrusted: false })),
  untrustedAndAsked: phone(computer({ accessibilityTrusted: false, prompts: [kQuestion] })),
  unreadable: phone(computer({ hasUnreadableSnapshot: true, prompts: [prompt(1)] })),
  notStored: phone(
    computer({
      prompts: [prompt(1)],
      storageProblem: "This browser could not keep this. Is its storage full, or switched off?",
    }),
  ),
  sending: phone(computer({ prompts: [prompt(1, { decision: decided("sending") }), kInstall] })),
  delivered: phone(computer({ prompts: [prompt(1, { decision: decided("delivered") }), kInstall] })),
  accepted: phone(computer({ prompts: [prompt(1, { decision: decided("accepted") }), kInstall] })),
  failed: phone(
    computer({
      prompts: [prompt(1, { decision: decided("failed", "The prompt is still there.") }), kInstall],
    }),
  ),
  tooLate: phone(
    computer({
      prompts: [prompt(1, { decision: decided("tooLate") }), kInstall],
      outcomes: [{ ...kOutcomes[0]!, key: uuid(900), status: "tooLate" }, ...kOutcomes.slice(2, 4)],
    }),
  ),
  incomplete: phone(computer({ prompts: [prompt(1), kInstall], promptsLeftOut: 3 })),
  tooLongToShow: phone(
    computer({
      prompts: [
        prompt(1, {
          windowTitle: "Allow all of these?",
          messageLines: [],
          buttons: [],
          requiresDirectAccess: true,
          directAccessReason: "This prompt is too long to be shown here. Look at the computer.",
        }),
      ],
      promptsLeftOut: 1,
    }),
  ),
  unanswered: phone(computer({ prompts: [prompt(1, { decision: decided("unanswered") })] })),
  manyButtons: phone(computer({ prompts: [kManyButtons] })),
  hidden: phone(
    computer({
      prompts: [
        prompt(1, {
          appName: "Terminal\u202e",
          windowTitle: "Open \u202egpj.exe\u202c?",
          messageLines: ["zero\u200bwidth", "اسمح بالوصول", ""],
          buttons: [
            { label: "Don't Allow", isRecommended: false, kind: "dismiss" },
            { label: "Allow", isRecommended: false, kind: "grant" },
            { label: "Аllow", isRecommended: false, kind: "grant" },
            { label: "All\u200bow", isRecommended: false, kind: "grant" },
          ],
          isFallbackDetection: true,
        }),
      ],
    }),
  ),
  several: phone(
    computer({ prompts: [prompt(1)], outcomes: kOutcomes.slice(0, 1) }),
    computer({ pairingID: "laptop", name: "Laptop", prompts: [] }),
    computer({
      pairingID: "build",
      name: "Build machine in the basement",
      relay: { kind: "connected" },
      isComputerConnected: false,
      lastReceivedAt: kSceneNow - 26 * kHour,
      prompts: [],
    }),
  ),
  grave: phone(
    computer({
      lock: "asked",
      prompts: [
        prompt(1, {
          appName: "Files",
          windowTitle: "Delete 3 items for good?",
          messageLines: ["This cannot be undone."],
          buttons: [
            { label: "Cancel", isRecommended: false, kind: "dismiss" },
            { label: "Delete", isRecommended: true, kind: "grant", caution: "destroys" },
          ],
        }),
        prompt(2, {
          buttons: [
            { label: "Don’t Allow", isRecommended: false, kind: "dismiss" },
            { label: "Always Allow", isRecommended: false, kind: "grant", caution: "lasting" },
            { label: "Allow", isRecommended: true, kind: "grant" },
          ],
        }),
        prompt(3, {
          appName: "ssh-askpass",
          windowTitle: "OpenSSH",
          messageLines: ["The authenticity of host “build.example” can’t be established."],
          buttons: [
            { label: "Cancel", isRecommended: false, kind: "dismiss" },
            { label: "OK", isRecommended: true, kind: "grant", caution: "stranger" },
          ],
          unlocking: { buttonLabel: "OK", problem: "This phone’s lock was not opened. Nothing was sent." },
        }),
      ],
    }),
  ),
  unlocking: phone(
    computer({ lock: "asked", prompts: [prompt(1, { unlocking: { buttonLabel: "Allow" } }), kInstall] }),
  ),
  noLock: phone(computer({ lock: "missing", prompts: [prompt(1)] })),
  newPhone: phone(
    computer({
      prompts: [prompt(1)],
      newPhones: [
        {
          id: uuid(700),
          deviceID: "of-mallory",
          name: "Mallory’s phone",
          earlierName: "Ann’s iPhone",
          since: kSceneNow - kHour,
        },
      ],
    }),
  ),
  askAlerts: withAlerts({}, computer()),
  askHomeScreen: withAlerts({ support: "homeScreenFirst" }, computer()),
  alertsBlocked: withAlerts({ support: "blocked", isWanted: true }, computer({ prompts: [prompt(1)] })),
  alertsRefused: withAlerts({ isWanted: true, problem: "serviceRefused" }, computer()),
  alerts: withAlerts(
    { isWanted: true },
    computer({ alerts: { isSubscribed: true, receivedAt: kSceneNow - 58 * kMinute } }),
    computer({ pairingID: "laptop", name: "Laptop", alerts: { isSubscribed: true } }),
    computer({
      pairingID: "build",
      name: "Build machine in the basement",
      isComputerConnected: false,
      alerts: { isSubscribed: true, sent: { status: "unreachable", reason: "tooLate" } },
    }),
  ),
  noAlerts: withAlerts({ isWanted: false }, computer()),
  history: phone(computer({ outcomes: kOutcomes })),
  muted: phone(
    computer({
      suppressions: [
        {
          suppressionID: uuid(601),
          at: kSceneNow - 5 * kHour,
          appName: "Notes",
          windowTitle: "Rate this program?",
        },
        {
          suppressionID: uuid(602),
          at: kSceneNow - 30 * kHour,
          appName: "Updater",
          windowTitle: "",
          until: kSceneNow + 24 * kHour,
        },
      ],
    }),
  ),
};
