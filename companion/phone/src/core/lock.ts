// This phone's own lock, by a key that its authenticator makes for this page and uses only after the person was recognised
// (the standard "Web Authentication", with user verification, on the platform's own authenticator). It works without a
// network.

import { say } from "../language/say";
import { isAnswerTo, isSigned } from "./assertion";
import { base64Text, base64Bytes } from "./base64";
import type { LockKey } from "./environment";

const longestWait = 60_000;
const notRecognised = say("This phone’s lock was not opened. Nothing was sent.");

function challenge(): Uint8Array<ArrayBuffer> {
  return crypto.getRandomValues(new Uint8Array(32));
}

/** Some browsers ask for the lock only right after a touch; a hold is full while the finger is still down. */
async function touched(): Promise<void> {
  const activation = (navigator as Partial<Navigator>).userActivation;
  if (!activation || activation.isActive) return;
  await new Promise<void>((resolve) => {
    const listening = new AbortController();
    const done = () => {
      listening.abort();
      clearTimeout(timer);
      resolve();
    };
    const timer = setTimeout(done, longestWait);
    for (const name of ["pointerup", "pointercancel", "keyup"]) {
      addEventListener(name, () => setTimeout(done), { signal: listening.signal, capture: true });
    }
  });
}

/** The browser's own words are for developers, and tell nothing of why. */
async function asked(asking: () => Promise<Credential | null>): Promise<PublicKeyCredential> {
  await touched();
  let credential: Credential | null;
  try {
    credential = await asking();
  } catch {
    throw new Error(notRecognised);
  }
  if (!(credential instanceof PublicKeyCredential)) throw new Error(notRecognised);
  return credential;
}

export async function enrol(): Promise<LockKey> {
  const asking = challenge();
  const credential = await asked(() =>
    navigator.credentials.create({
      publicKey: {
        rp: { name: "Quillard" },
        user: { id: challenge(), name: "Quillard", displayName: say("Quillard on this phone") },
        challenge: asking,
        pubKeyCredParams: [
          { type: "public-key", alg: -7 },
          { type: "public-key", alg: -257 },
        ],
        authenticatorSelection: {
          authenticatorAttachment: "platform",
          userVerification: "required",
          residentKey: "discouraged",
        },
        attestation: "none",
        timeout: longestWait,
      },
    }),
  );
  const response = credential.response as AuthenticatorAttestationResponse;
  const publicKey = response.getPublicKey();
  const expected = { type: "webauthn.create", challenge: asking, ...page() } as const;
  const data = response.getAuthenticatorData();
  if (!publicKey || !(await isAnswerTo(expected, response.clientDataJSON, data, crypto.subtle))) {
    throw new Error(notRecognised);
  }
  return {
    credentialID: base64Text(new Uint8Array(credential.rawId)),
    publicKey: base64Text(new Uint8Array(publicKey)),
    algorithm: response.getPublicKeyAlgorithm(),
  };
}

export async function check(key: LockKey): Promise<void> {
  const asking = challenge();
  const credential = await asked(() =>
    navigator.credentials.get({
      publicKey: {
        challenge: asking,
        allowCredentials: [
          {
            type: "public-key",
            id: base64Bytes(key.credentialID) ?? new Uint8Array(),
            transports: ["internal"],
          },
        ],
        userVerification: "required",
        timeout: longestWait,
      },
    }),
  );
  const response = credential.response as AuthenticatorAssertionResponse;
  const { clientDataJSON, authenticatorData } = response;
  const expected = { type: "webauthn.get", challenge: asking, ...page() } as const;
  const isRight =
    (await isAnswerTo(expected, clientDataJSON, authenticatorData, crypto.subtle)) &&
    (await isSigned(key, response, crypto.subtle));
  if (!isRight) throw new Error(notRecognised);
}

function page(): { readonly origin: string; readonly rpID: string } {
  return { origin: location.origin, rpID: location.hostname };
}
