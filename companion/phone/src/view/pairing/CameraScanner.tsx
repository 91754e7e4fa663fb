// Scans for the code with the camera. The camera runs only while this is up and visible.
import { say } from "../../language/say";
import type { JSX } from "preact";
import { useEffect, useRef, useState } from "preact/hooks";
import { CodeReader } from "../../codes/CodeReader";
import { imageOf } from "../../codes/imageOf";

// Frames are scanned one after another, and not more often than this. Milliseconds.
const kBetweenFrames = 120;
const kLargestFrame = 1000;
// How long a word on a code that is none of ours stands.
const kWrongCodeStands = 2500;

interface CameraScannerProps {
  /** Gives back what is wrong with it, or nothing when it was taken. */
  readonly onText: (text: string) => string | undefined;
  /** There is no camera, or it may not be used. */
  readonly onProblem: (problem: string) => void;
  readonly onCancel: () => void;
}

// Not each of these errors is a DOMException: in WebKit, the one of a missing camera is none.
function nameOf(error: unknown): string {
  return typeof error === "object" && error !== null && "name" in error ? String(error.name) : "";
}

export function problemWith(error: unknown): string {
  const name = nameOf(error);
  if (name === "NotAllowedError" || name === "SecurityError") {
    return say(
      "The camera may not be used by this page. Allow it in the browser’s settings, or use a picture or the code’s text.",
    );
  }
  if (name === "NotFoundError" || name === "OverconstrainedError") {
    return say("There is no camera here. Use a picture of the code, or its text.");
  }
  if (name === "NotReadableError")
    return say("The camera is in use by another program. Close that, and try again.");
  return say("The camera cannot be used here. Use a picture of the code, or its text.");
}

async function openCamera(): Promise<MediaStream> {
  // Absent where the page did not come over a safe connection.
  if (!navigator.mediaDevices?.getUserMedia) throw new DOMException("", "NotSupportedError");
  return navigator.mediaDevices.getUserMedia({
    audio: false,
    video: { facingMode: { ideal: "environment" }, width: { ideal: 1280 }, height: { ideal: 720 } },
  });
}

function stop(stream: MediaStream | undefined): void {
  for (const track of stream?.getTracks() ?? []) track.stop();
}

export function CameraScanner({ onText, onProblem, onCancel }: CameraScannerProps): JSX.Element {
  const video = useRef<HTMLVideoElement>(null);
  const [hint, setHint] = useState<string>();
  const [isSeeing, setSeeing] = useState(false);
  const handlers = useRef({ onText, onProblem });
  handlers.current = { onText, onProblem };

  useEffect(() => {
    const reader = new CodeReader();
    let stream: MediaStream | undefined;
    let isOver = false;
    // Each time the camera is opened anew; what an older one brings is void.
    let turn = 0;
    let timer: ReturnType<typeof setTimeout> | undefined;
    let hintTimer: ReturnType<typeof setTimeout> | undefined;

    const scan = async (mine: number): Promise<void> => {
      const element = video.current;
      if (mine !== turn || !element) return;
      if (element.videoWidth > 0) {
        const image = imageOf(element, element.videoWidth, element.videoHeight, kLargestFrame);
        const text = image && (await reader.read(image, "quick"));
        if (mine !== turn) return;
        if (text !== undefined) {
          const problem = handlers.current.onText(text);
          if (problem === undefined) return;
          setHint(problem);
          clearTimeout(hintTimer);
          hintTimer = setTimeout(() => setHint(undefined), kWrongCodeStands);
        }
      }
      timer = setTimeout(() => void scan(mine), kBetweenFrames);
    };

    const close = () => {
      ++turn;
      clearTimeout(timer);
      stop(stream);
      stream = undefined;
      setSeeing(false);
    };

    const open = async () => {
      const mine = ++turn;
      try {
        const opened = await openCamera();
        if (isOver || mine !== turn || !video.current) {
          stop(opened);
          return;
        }
        stream = opened;
        video.current.srcObject = opened;
        await video.current.play();
        setSeeing(true);
        void scan(mine);
      } catch (error) {
        if (!isOver && mine === turn) handlers.current.onProblem(problemWith(error));
      }
    };

    const follow = () => {
      if (document.visibilityState === "hidden") close();
      else void open();
    };
    follow();
    document.addEventListener("visibilitychange", follow);
    return () => {
      isOver = true;
      document.removeEventListener("visibilitychange", follow);
      clearTimeout(hintTimer);
      close();
      reader.close();
    };
  }, []);

  return (
    <div class="scanner">
      <div class="viewfinder">
        <video ref={video} playsInline muted aria-label={say("What the camera sees")} />
        <span class="corners" aria-hidden="true" />
        {!isSeeing && <p class="viewfinder-note">{say("Opening the camera…")}</p>}
      </div>
      <p class="centred" role="status">
        {hint ?? say("Point the camera at the code in Quillard’s window.")}
      </p>
      <button type="button" class="button is-wide is-tall" onClick={onCancel}>
        {say("Cancel")}
      </button>
    </div>
  );
}
