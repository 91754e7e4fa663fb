// Every text of the page in German, by its English one. A text that is missing here does not compile where it is used, and one that
// is used nowhere stops the build. The words are those of the computer's window: Rückfrage, Meldung, koppeln, Bedienungshilfen.
export const german = {
  // Not for people: the locale of dates, and the files in this language.
  "en-GB": "de-DE",
  "/sw.js": "/sw.js?de",
  "/push-worker.js": "/push-worker-de.js",

  // The first page, and pairing.
  "Opening…": "Wird geöffnet …",
  "Quillard cannot run here": "Quillard läuft hier nicht",
  "A private window, or a browser that keeps no data of pages, cannot hold a pairing.":
    "Private Fenster und Browser ohne Speicher können keine Kopplung halten.",
  "A new version is ready": "Eine neue Version ist bereit",
  Reload: "Neu laden",
  "Answer your computer from here": "Von hier aus ant\u00adworten",
  "When a program on your computer asks for permission while you are away, Quillard shows it on this phone, and presses the button that you choose.":
    "Fragt ein Programm auf Ihrem Computer um Erlaubnis, während Sie fort sind, zeigt Quillard das hier und drückt den Knopf, den Sie wählen.",
  "On the computer, open Quillard’s window.": "Öffnen Sie am Computer das Fenster von Quillard.",
  "Its pairing card shows a code. Scan it from here.":
    "Unter „Telefon koppeln“ steht ein Code. Scannen Sie ihn von hier.",
  "Give the computer a name, and its prompts appear.":
    "Geben Sie ihm einen Namen, und seine Rückfragen erscheinen.",
  "Scan the code": "Code scannen",
  "Choose a picture of the code": "Bild des Codes wählen",
  "Looking for the code…": "Code wird gesucht …",
  "Picture of the code": "Bild des Codes",
  "Paste the code’s text": "Text des Codes einfügen",
  "To be alerted while this page is closed, put it on the home screen first (Share, “Add to Home Screen”), open it from there, and pair there.":
    "Für Meldungen bei geschlossener Seite legen Sie sie zuerst auf den Home-Bildschirm (Teilen, „Zum Home-Bildschirm“), und koppeln Sie dort.",
  "Sealed from end to end: the relay never sees what waits. But whoever runs it serves this page, and could change it.":
    "Von Ende zu Ende versiegelt: Das Relay sieht nie, was wartet. Aber wer es betreibt, liefert diese Seite und könnte sie ändern.",
  "Pair a computer": "Computer koppeln",
  Prompts: "Rückfragen",
  "The code’s text": "Text des Codes",
  "On the computer, %1 prints it. It holds secrets: bring it here by a way that nobody else reads.":
    "Am Computer gibt %1 ihn aus. Er ist geheim: Auf dem Weg hierher darf ihn niemand lesen.",
  Cancel: "Abbrechen",
  Continue: "Weiter",
  Back: "Zurück",
  "What the camera sees": "Was die Kamera sieht",
  "Opening the camera…": "Kamera wird geöffnet …",
  "Point the camera at the code in Quillard’s window.":
    "Richten Sie die Kamera auf den Code im Fenster von Quillard.",
  "The camera may not be used by this page. Allow it in the browser’s settings, or use a picture or the code’s text.":
    "Erlauben Sie im Browser die Kamera. Oder nehmen Sie ein Bild des Codes oder seinen Text.",
  "There is no camera here. Use a picture of the code, or its text.":
    "Hier ist keine Kamera. Nehmen Sie ein Bild des Codes oder seinen Text.",
  "The camera is in use by another program. Close that, and try again.":
    "Ein anderes Programm nutzt die Kamera.",
  "The camera cannot be used here. Use a picture of the code, or its text.":
    "Die Kamera ist hier nicht nutzbar. Nehmen Sie ein Bild des Codes oder seinen Text.",
  "No code was found in this picture. Take it closer, straight, and sharp.":
    "In diesem Bild ist kein Code. Nehmen Sie ihn näher, gerade und scharf auf.",
  "This picture cannot be read.": "Dieses Bild ist nicht lesbar.",
  "This picture is too large.": "Dieses Bild ist zu groß.",
  "This file is no picture that the browser can show.":
    "Diese Datei ist kein Bild, das der Browser zeigen kann.",
  "Pair with this computer?": "Mit diesem Computer koppeln?",
  "This phone will see its prompts, and can press their buttons. Pair only with a computer whose code you just saw yourself. Relay: %1":
    "Dieses Telefon sieht seine Rückfragen und kann ihre Knöpfe drücken. Koppeln Sie nur, wenn Sie den Code eben selbst gesehen haben. Relay: %1",
  "Name of the computer": "Name des Computers",
  "What it calls this phone": "Wie er dieses Telefon nennt",
  "My computer": "Mein Computer",
  "My computer %1": "Mein Computer %1",
  "Pairing…": "Wird gekoppelt …",
  Pair: "Koppeln",
  "Pairing did not work.": "Die Kopplung gelang nicht.",
  "This computer uses another relay": "Dieser Computer nutzt ein anderes Relay",
  "A page talks to the computers of its own relay only. Open that relay’s page, and pair there.":
    "Koppeln Sie auf der Seite jenes Relays.",
  "Open %1": "%1 öffnen",
  "This computer": "Dieser Computer",
  "%1 is paired already": "%1 ist schon gekoppelt",
  "To pair it anew, forget it first.": "Entfernen Sie ihn erst, um ihn neu zu koppeln.",
  "Show its prompts": "Seine Rückfragen zeigen",
  "There is no text in this.": "Das enthält keinen Text.",
  "This is not a Quillard pairing code.": "Das ist kein Kopplungscode von Quillard.",
  "This pairing code is damaged. Show it again on the computer, and scan it anew.":
    "Dieser Kopplungscode ist beschädigt. Zeigen und scannen Sie ihn noch einmal.",
  "This code names a relay without encryption, on another computer. It is not used.":
    "Das Relay dieses Codes ist unverschlüsselt und wird nicht verwendet.",
  "This pairing code is of version %1, and this phone knows version 1 only. Update the older of the two.":
    "Dieser Kopplungscode hat Version %1, dieses Telefon kennt nur Version 1.",
  "This phone is not ready to be paired.": "Dieses Telefon ist noch nicht bereit zur Kopplung.",
  "This computer is paired already.": "Dieser Computer ist schon gekoppelt.",
  "This computer uses another relay. Open the page of that relay to pair.":
    "Dieser Computer nutzt ein anderes Relay. Koppeln Sie auf dessen Seite.",
  "Android phone": "Android-Telefon",
  "Browser on a Mac": "Browser auf einem Mac",
  "Browser on Windows": "Browser unter Windows",
  "Browser on Linux": "Browser unter Linux",

  // What the browser keeps.
  "This browser cannot keep keys.": "Dieser Browser kann keine Schlüssel behalten.",
  "It could not be stored.": "Das Speichern gelang nicht.",
  "This browser could not keep this. Is its storage full, or switched off?":
    "Das war nicht zu speichern. Ist der Speicher voll?",
  "This browser could not read what it keeps.": "Dieser Browser konnte nicht lesen, was er gespeichert hat.",
  "This browser has data of a newer version of this page. Reload the page.":
    "Die Daten sind von einer neueren Version. Laden Sie die Seite neu.",
  "This browser keeps no data for this page, so it cannot keep keys. Private windows often do not.":
    "Dieser Browser behält keine Schlüssel. Private Fenster tun das oft nicht.",
  "Another tab holds an older version of this page. Close it, and reload.":
    "Ein Tab hält eine ältere Version dieser Seite. Schließen Sie ihn.",
  "What this browser keeps about your computers cannot be read. Remove this page's data in the browser's settings, and pair again.":
    "Was der Browser über Ihre Computer weiß, ist nicht lesbar. Löschen Sie dort die Daten dieser Seite, und koppeln Sie neu.",
  "This part of the page could not be fetched. Open it again when there is a network.":
    "Dieser Teil der Seite lässt sich nur mit Netz laden.",

  // Times.
  now: "jetzt",
  "%1 s": "%1 s",
  "%1 min": "%1 min",
  "%1 h": "%1 h",
  "%1 d": "%1 d",
  "just now": "gerade eben",
  "%1 ago": "vor %1",
  "%1 seconds ago": "vor %1 Sekunden",
  "1 minute ago": "vor 1 Minute",
  "%1 minutes ago": "vor %1 Minuten",
  "1 hour ago": "vor 1 Stunde",
  "%1 hours ago": "vor %1 Stunden",
  "1 day ago": "vor 1 Tag",
  "%1 days ago": "vor %1 Tagen",
  "tomorrow %1": "morgen %1",
  "yesterday %1": "gestern %1",

  // What waits, and how it stands with a computer.
  "“%1”": "„%1“",
  "1 prompt waits": "1 Rückfrage wartet",
  "%1 prompts wait": "%1 Rückfragen warten",
  "Not up to date": "Nicht aktuell",
  Paused: "Angehalten",
  "Prompts are not seen": "Rückfragen fehlen",
  "Nothing waits": "Nichts wartet",
  "Nothing waits.": "Nichts wartet.",
  "All is quiet": "Alles ist ruhig",
  "Prompts of %1 appear here by themselves.": "Rückfragen von %1 erscheinen hier von selbst.",
  "Waiting for the first word of %1…": "Warten auf das erste Wort von %1 …",
  "Nothing waited when it was last heard of.": "Als er sich zuletzt meldete, wartete nichts.",
  "New: %1.": "Neu: %1.",
  "New: %1. And %2 more.": "Neu: %1. Und %2 weitere.",
  "Pair another computer": "Weiteren Computer koppeln",
  Recently: "Zuletzt",
  All: "Alle",
  "This phone": "Dieses Telefon",
  "never heard": "nie gehört",
  "heard %1": "gehört %1",
  "Connecting…": "Verbindet sich …",
  "Connecting, %1": "Verbindet sich, %1",
  "No relay, %1": "Kein Relay, %1",
  "Offline, %1": "Offline, %1",
  "Open in another tab": "In anderem Tab offen",
  "Not paired any more": "Nicht mehr gekoppelt",
  "Not connected, %1": "Nicht verbunden, %1",
  Connected: "Verbunden",
  "Connected, heard %1": "Verbunden, gehört %1",
  "Paused at the computer": "Am Computer angehalten",
  "Paused at the computer until %1": "Am Computer angehalten bis %1",

  // Notices.
  "This phone is offline": "Dieses Telefon ist offline",
  "It goes on by itself when there is a network.": "Es geht von selbst weiter, sobald es ein Netz gibt.",
  "The relay cannot be reached": "Das Relay ist nicht erreichbar",
  "Trying again…": "Neuer Versuch …",
  "Next try in %1 s.": "Nächster Versuch in %1 s.",
  "Try now": "Jetzt versuchen",
  "Quillard is open in another tab": "Quillard ist in einem anderen Tab offen",
  "Only one tab of a browser talks to the computer at a time.":
    "Nur ein Tab eines Browsers spricht jeweils mit dem Computer.",
  "Use it here": "Hier verwenden",
  "%1 unpaired its phones": "%1 hat seine Telefone entkoppelt",
  "To answer its prompts again, pair this phone with its new code.":
    "Um seine Rückfragen wieder zu beantworten, koppeln Sie dieses Telefon mit seinem neuen Code.",
  "%1 removed this phone": "%1 hat dieses Telefon entfernt",
  "To answer its prompts again, pair this phone with a new code.":
    "Um seine Rückfragen wieder zu beantworten, koppeln Sie dieses Telefon mit einem neuen Code.",
  "The relay does not know this pairing": "Das Relay kennt diese Kopplung nicht",
  "It may have been set up anew. Pair this phone with %1 again.":
    "Vielleicht wurde es neu eingerichtet. Koppeln Sie dieses Telefon wieder mit %1.",
  "Pair again": "Neu koppeln",
  "Forget…": "Entfernen …",
  "%1 is not connected": "%1 ist nicht verbunden",
  "The relay has not heard of it yet. It may be switched off, asleep or without a network.":
    "Das Relay hat noch nichts von ihm gehört. Vielleicht ist er ausgeschaltet, im Ruhezustand oder ohne Netz.",
  "Last heard of %1. It may be switched off, asleep or without a network.":
    "Zuletzt gehört %1. Vielleicht ist er ausgeschaltet, im Ruhezustand oder ohne Netz.",
  "Prompts that come up meanwhile wait at %1.": "Rückfragen, die inzwischen kommen, warten an %1.",
  "Grants need this phone’s lock": "Erlauben braucht die Sperre des Telefons",
  "This browser cannot ask for a face, a finger or a code. Grant at %1; dismissing works here.":
    "Dieser Browser kann nicht nach Gesicht, Finger oder Code fragen. Erlauben Sie an %1.",
  "%1 cannot see its windows": "%1 sieht seine Fenster nicht",
  "Allow Accessibility for Quillard there: its window says how. Until then only what programs ask comes here.":
    "Erlauben Sie Quillard dort die Bedienungshilfen: Sein Fenster sagt, wie. Bis dahin kommt nur, was Programme selbst fragen.",
  "A list came that cannot be read": "Eine Liste kam, die nicht lesbar ist",
  "What stands below may be old. If this stays, forget this computer and pair again.":
    "Was unten steht, kann alt sein. Wenn das bleibt, entfernen Sie diesen Computer und koppeln neu.",
  "1 more prompt is not shown": "1 weitere Rückfrage fehlt hier",
  "%1 more prompts are not shown": "%1 weitere Rückfragen fehlen hier",
  "The list is too long. Look at %1 for it.": "Die Liste ist zu lang. Sehen Sie an %1 danach.",
  "The list is too long. Look at %1 for them.": "Die Liste ist zu lang. Sehen Sie an %1 nach ihnen.",
  "The log of %1 was cut or changed": "Das Protokoll von %1 wurde gekürzt oder geändert",
  "Noticed %1. It may lack earlier decisions.": "Bemerkt %1. Frühere Entscheidungen können darin fehlen.",
  "The last changes are not stored": "Die letzten Änderungen sind nicht gespeichert",
  "They are lost when this page is closed. %1": "Sie gehen verloren, wenn diese Seite geschlossen wird. %1",
  "%1 has joined %2 with the code of %3": "%1 ist %2 mit dem Code von %3 beigetreten",
  "If it is none of yours, somebody else has the code, and can see and answer prompts.":
    "Wenn es nicht Ihres ist, hat jemand anderes den Code und kann Rückfragen sehen und beantworten.",
  "They share that code, so both are unpaired. Pair yours again at %1, with a new code.":
    "Beide teilen diesen Code und werden deshalb entkoppelt. Koppeln Sie Ihres an %1 mit einem neuen Code wieder.",
  "Remove…": "Entfernen …",
  "Remove both": "Beide entfernen",
  Keep: "Behalten",

  // One prompt.
  "An unnamed program": "Ein Programm ohne Namen",
  "A window without a title": "Ein Fenster ohne Titel",
  "A prompt that this phone has not seen": "Eine Rückfrage, die dieses Telefon nicht gesehen hat",
  "Show 1 more line": "1 weitere Zeile zeigen",
  "Show %1 more lines": "%1 weitere Zeilen zeigen",
  "Only at %1": "Nur an %1",
  "This prompt can only be granted at the computer itself.":
    "Diese Rückfrage lässt sich nur am Computer selbst erlauben.",
  "There, it also offers %1.": "Dort bietet sie auch %1.",
  "%1 of %2 that look the same. An answer is for this one only.":
    "%1 von %2, die gleich aussehen. Eine Antwort gilt nur für diese.",
  "Recognised by its looks only: it may be something else than a prompt.":
    "Nur am Aussehen erkannt: Es kann etwas anderes als eine Rückfrage sein.",
  Buttons: "Knöpfe",
  hold: "halten",
  "hold, then unlock": "halten, dann entsperren",
  Recommended: "Empfohlen",
  "Recommended · %1": "Empfohlen · %1",
  "Something is lost": "Etwas geht verloren",
  "For later times, too": "Auch für später",
  "Unknown identity": "Unbekannte Herkunft",
  "%1Keep holding the button to confirm: %2": "%1Halten Sie den Knopf zum Bestätigen gedrückt: %2",
  "%1Hold, or activate again, to confirm: %2": "%1Zum Bestätigen halten oder noch einmal auslösen: %2",
  "The page just moved. To confirm, tap again: %1":
    "Die Seite hat sich eben bewegt. Zum Bestätigen noch einmal tippen: %1",
  Details: "Einzelheiten",
  Program: "Programm",
  "Taken for a prompt because": "Als Rückfrage erkannt, weil",
  "The computer gave no reason.": "Der Computer nannte keinen Grund.",
  "Don’t show this again": "Nicht mehr zeigen",
  "Only for a day": "Nur einen Tag",
  "For a week": "Eine Woche",
  Undo: "Rückgängig",
  "Not shown while alerts are paused.": "Nicht gezeigt, solange Meldungen angehalten sind.",
  "It is gone.": "Sie ist fort.",

  // A decision, and what became of it.
  "Sending %1…": "%1 wird gesendet …",
  "%1 is with %2…": "%1 ist bei %2 …",
  "%1 pressed, the prompt is gone.": "%1 gedrückt, die Rückfrage ist fort.",
  "%1 did not work.": "%1 gelang nicht.",
  "%1 never reached %2. Nothing was pressed.": "%1 erreichte %2 nicht. Nichts wurde gedrückt.",
  "No answer about %1 came within a minute. It is not known whether it was pressed.":
    "Zu %1 kam binnen einer Minute keine Antwort. Ob der Knopf gedrückt wurde, ist nicht bekannt.",
  "%1 came too late at %2. Nothing was pressed. You can decide again.":
    "%1 kam zu spät bei %2 an. Nichts wurde gedrückt. Sie können neu entscheiden.",
  "The prompt or its button was gone already. Nothing was pressed.":
    "Die Rückfrage oder ihr Knopf war schon fort. Nichts wurde gedrückt.",
  "This can only be answered at %1. Nothing was pressed.":
    "Das lässt sich nur an %1 beantworten. Nichts wurde gedrückt.",
  "%1 waits for this phone’s lock…": "%1 wartet auf die Sperre dieses Telefons …",
  "The computer is not connected to the relay. Nothing was pressed.":
    "Der Computer ist nicht mit dem Relay verbunden. Nichts wurde gedrückt.",
  "Too much waits for the computer already. Nothing was pressed.":
    "Auf den Computer wartet schon zu viel. Nichts wurde gedrückt.",
  "The relay could not be reached within a minute. Nothing was pressed.":
    "Das Relay antwortete eine Minute lang nicht. Nichts wurde gedrückt.",
  "The relay did not pass it on. Nothing was pressed.":
    "Das Relay gab es nicht weiter. Nichts wurde gedrückt.",
  "The computer did not answer within a minute. It is not known whether the button was pressed.":
    "Der Computer antwortete eine Minute lang nicht. Ob der Knopf gedrückt wurde, ist nicht bekannt.",
  "The prompt has changed meanwhile. Nothing was sent.":
    "Die Rückfrage hat sich inzwischen geändert. Nichts wurde gesendet.",
  It: "Es",
  " on %1": " auf %1",
  "Answered at the computer, or closed by itself": "Am Computer beantwortet oder von selbst geschlossen",
  "Not shown any more": "Nicht mehr gezeigt",
  "Not shown any more: chosen%1": "Nicht mehr gezeigt: gewählt%1",
  "%1 pressed from here": "%1 von hier gedrückt",
  "%1 pressed: chosen%2": "%1 gedrückt: gewählt%2",
  "%1%2 did not work.": "%1%2 gelang nicht.",
  "%1 never reached the computer": "%1 erreichte den Computer nicht",
  "%1: no answer came, it is not known what became of it":
    "%1: Es kam keine Antwort; was daraus wurde, ist nicht bekannt",
  "%1%2 came too late, nothing was pressed": "%1%2 kam zu spät, nichts wurde gedrückt",
  "%1%2: the prompt was gone already": "%1%2: Die Rückfrage war schon fort",
  "%1%2: can only be answered at the computer": "%1%2: nur am Computer zu beantworten",
  "%1%2: under way": "%1%2: unterwegs",

  // About one computer.
  Name: "Name",
  Save: "Sichern",
  "Saving…": "Wird gesichert …",
  "The name could not be stored.": "Der Name ließ sich nicht speichern.",
  Relay: "Relay",
  Computer: "Computer",
  "Last heard of": "Zuletzt gehört",
  Never: "Nie",
  Paired: "Gekoppelt",
  "Not reachable": "Nicht erreichbar",
  "No network": "Kein Netz",
  "In use by another tab": "Von einem anderen Tab genutzt",
  "The computer unpaired its phones": "Der Computer hat seine Telefone entkoppelt",
  "The computer removed this phone": "Der Computer hat dieses Telefon entfernt",
  "Does not know this pairing": "Kennt diese Kopplung nicht",
  "Not known": "Nicht bekannt",
  "Not connected": "Nicht verbunden",
  History: "Verlauf",
  "Nothing yet": "Noch nichts",
  "1 outcome": "1 Ergebnis",
  "%1 outcomes": "%1 Ergebnisse",
  "Everything is shown": "Alles wird gezeigt",
  "1 kind of prompt": "1 Art von Rückfragen",
  "%1 kinds of prompts": "%1 Arten von Rückfragen",
  "What becomes of the prompts of %1 is listed here.": "Was aus den Rückfragen von %1 wird, steht hier.",
  "The newest 50 are kept, on this phone only.": "Die neuesten 50 bleiben, nur auf diesem Telefon.",
  "Every prompt of %1 is shown.": "Jede Rückfrage von %1 wird gezeigt.",
  "Show again": "Wieder zeigen",
  "Show again: %1": "Wieder zeigen: %1",
  "Such prompts wait at the computer itself, and are not sent to phones.":
    "Solche Rückfragen warten am Computer selbst und gehen an kein Telefon.",
  "Until Quillard restarts there": "Bis Quillard dort neu startet",
  "Until you show it again": "Bis Sie es wieder zeigen",
  "Until %1": "Bis %1",
  "Forget this computer": "Diesen Computer entfernen",
  "Forget %1?": "%1 entfernen?",
  "Its keys, list and history are removed from this phone. The computer itself goes on trusting its other phones; to shut out all of them, unpair in its window.":
    "Seine Schlüssel, Liste und Verlauf werden von diesem Telefon entfernt. Der Computer selbst vertraut seinen anderen Telefonen weiter; um alle auszuschließen, entkoppeln Sie in seinem Fenster.",
  Forget: "Entfernen",
  "It could not be forgotten.": "Das Entfernen gelang nicht.",

  // About this phone.
  "What the computers call it": "Wie die Computer es nennen",
  "This phone’s lock": "Die Sperre dieses Telefons",
  "Grants ask for this phone’s lock": "Erlauben fragt nach der Sperre",
  "This phone’s lock before a grant": "Die Sperre vor dem Erlauben",
  "This browser cannot ask for a face, a finger or a code, so grants cannot wait for that.":
    "Dieser Browser kann nicht nach Gesicht, Finger oder Code fragen.",
  "Before anything is granted here, this phone asks for your face, finger or code: whoever finds it unlocked cannot grant. It does not help against a page that was changed.":
    "Bevor hier etwas erlaubt wird, fragt dieses Telefon nach Gesicht, Finger oder Code: Wer es entsperrt findet, kann nichts erlauben. Gegen eine geänderte Seite hilft das nicht.",
  "Ask no more": "Nicht mehr fragen",
  "Ask before each grant": "Vor jedem Erlauben fragen",
  "This phone’s lock did not answer.": "Die Sperre dieses Telefons antwortete nicht.",
  "This phone’s lock did not answer. Nothing was sent.":
    "Die Sperre dieses Telefons antwortete nicht. Nichts wurde gesendet.",
  "This phone’s lock was not opened. Nothing was sent.":
    "Die Sperre dieses Telefons wurde nicht geöffnet. Nichts wurde gesendet.",
  "This browser cannot ask for this phone’s lock.":
    "Dieser Browser kann nicht nach der Sperre dieses Telefons fragen.",
  "Quillard on this phone": "Quillard auf diesem Telefon",
  "What waits and what you decide travels sealed: only your computers and your phones hold the keys. Here they are kept in a form that this page can use, but not read out. The relay sees who is connected, and when. Whoever serves this page could change it; a phone in a terminal runs no page.":
    "Was wartet und was Sie entscheiden, reist versiegelt: Nur Ihre Computer und Ihre Telefone haben die Schlüssel. Hier liegen sie so, dass diese Seite sie nutzen, aber nicht auslesen kann. Das Relay sieht, wer wann verbunden ist. Wer diese Seite liefert, könnte sie ändern; ein Telefon im Terminal braucht keine Seite.",

  // Alerts.
  Alerts: "Meldungen",
  "Alerts while this page is closed": "Meldungen ohne offene Seite",
  "A prompt waits unseen until somebody opens this page. With alerts this phone is woken for it. What they say travels sealed; the push service of your browser learns only that something waits, and when.":
    "Eine Rückfrage wartet ungesehen, bis jemand diese Seite öffnet. Mit Meldungen wird dieses Telefon dafür geweckt. Was sie sagen, reist versiegelt; der Push-Dienst Ihres Browsers erfährt nur, dass etwas wartet, und wann.",
  "Alerts need Quillard on the home screen": "Meldungen brauchen den Home-Bildschirm",
  "An iPhone wakes only pages that are there. %1 It keeps what it stores apart from this browser: pair there with a new code, then forget this computer here.":
    "Ein iPhone weckt nur Seiten, die dort liegen. %1 Was sie speichert, ist von diesem Browser getrennt: Koppeln Sie dort mit einem neuen Code, und entfernen Sie dann diesen Computer hier.",
  "Tap Share, “Add to Home Screen”, and open Quillard from there.":
    "Tippen Sie auf Teilen, „Zum Home-Bildschirm“, und öffnen Sie Quillard von dort.",
  "Not now": "Nicht jetzt",
  "Turn on alerts": "Meldungen an",
  "Turn off alerts": "Meldungen aus",
  "What to do": "Was zu tun ist",
  "On the lock screen": "Auf dem Sperrbildschirm",
  "Who asks, and what": "Wer fragt, und was",
  "“Disk Tool: Erase disk?”, and a button to dismiss it":
    "„Disk Tool: Erase disk?“ und ein Knopf zum Ablehnen",
  "Only that a prompt waits": "Nur dass etwas wartet",
  "“A prompt waits at Studio”, and nothing else": "„A prompt waits at Studio“ und sonst nichts",
  "Send a test alert from %1": "Probemeldung von %1 senden",
  Test: "Probe",
  "When alerts do not come": "Wenn Meldungen nicht kommen",
  "Alerts are blocked": "Meldungen sind gesperrt",
  "This page may not show notifications. This phone’s page says how to allow them.":
    "Diese Seite darf keine Mitteilungen zeigen. Wie Sie es erlauben, steht unter „Dieses Telefon“.",
  "Alerts do not reach this phone": "Meldungen erreichen dieses Telefon nicht",
  "This relay wakes no phones. Whoever runs it can switch that on.":
    "Dieses Relay weckt keine Telefone. Wer es betreibt, kann das einschalten.",
  "This relay does not use the push service of this browser. Whoever runs it can allow it.":
    "Dieses Relay nutzt den Push-Dienst dieses Browsers nicht. Wer es betreibt, kann ihn erlauben.",
  "The relay could not be asked. It is tried again.":
    "Das Relay ließ sich nicht fragen. Es wird wieder versucht.",
  "The push service of this browser did not answer. It is tried again.":
    "Der Push-Dienst dieses Browsers antwortete nicht. Es wird wieder versucht.",
  "This browser or its push service refused. Private windows often do; so do browsers without a push service.":
    "Dieser Browser oder sein Push-Dienst lehnte ab. Private Fenster tun das oft, ebenso Browser ohne Push-Dienst.",
  "The choice of alerts is not stored": "Die Wahl der Meldungen ist nicht gespeichert",
  "This browser could not keep it. It asks again when the page is opened.":
    "Dieser Browser konnte sie nicht behalten. Er fragt wieder, wenn die Seite geöffnet wird.",
  "Alerts need the home screen": "Meldungen brauchen den Home-Bildschirm",
  "No alerts in this browser": "Keine Meldungen in diesem Browser",
  "No alerts while this page is closed": "Keine Meldungen ohne offene Seite",
  "Switching alerts on…": "Meldungen werden eingeschaltet …",
  "Alerts are on": "Meldungen sind ein",
  "Alerts do not work now": "Meldungen gehen jetzt nicht",
  "The relay cannot wake this phone now.": "Das Relay kann dieses Telefon jetzt nicht wecken.",
  "The push service did not take the last alert.": "Der Push-Dienst nahm die letzte Meldung nicht an.",
  "The push service could not be reached for the last alert.":
    "Der Push-Dienst war für die letzte Meldung nicht erreichbar.",
  "An alert was sent at %1, and has not been noticed here.":
    "Eine Meldung wurde gesendet (%1) und hier nicht bemerkt.",
  "Alerts reach this phone: last one at %1": "Meldungen erreichen dieses Telefon, zuletzt: %1",
  "Ready. None has come yet: try one.": "Bereit. Noch kam keine: Senden Sie eine zur Probe.",
  "Not known: the relay has not said yet.": "Nicht bekannt: Das Relay hat noch nichts gesagt.",
  "Alerts come only to Quillard on the home screen, with iOS 16.4 or later. Open it from there; it is paired there, and not in the browser.":
    "Meldungen kommen nur zu Quillard auf dem Home-Bildschirm, ab iOS 16.4. Öffnen Sie es von dort; dort ist es gekoppelt, nicht im Browser.",
  "Settings, Notifications, Quillard: allow them, on the lock screen, too.":
    "Einstellungen, Mitteilungen, Quillard: Erlauben Sie sie, auch auf dem Sperrbildschirm.",
  "A Focus, such as Do Not Disturb, holds them back unless Quillard is allowed there.":
    "Ein Fokus wie „Nicht stören“ hält sie zurück, wenn Quillard dort nicht erlaubt ist.",
  "In Firefox: the lock beside the address, Permissions, Notification. And in Android’s settings, Apps, Firefox, Notifications.":
    "In Firefox: das Schloss neben der Adresse, Berechtigungen, Benachrichtigung. Und in den Einstellungen von Android: Apps, Firefox, Benachrichtigungen.",
  "In Chrome: the sign beside the address, Permissions, Notifications. And in Android’s settings, Apps, Chrome (or Quillard, where it is installed), Notifications.":
    "In Chrome: das Zeichen neben der Adresse, Berechtigungen, Benachrichtigungen. Und in den Einstellungen von Android: Apps, Chrome (oder Quillard, wo es installiert ist), Benachrichtigungen.",
  "Where they come late: in Android’s settings, Apps, let the browser use the battery without restriction.":
    "Wo sie spät kommen: Erlauben Sie dem Browser in den Einstellungen von Android unter Apps den Akku ohne Einschränkung.",
  "Do Not Disturb holds them back.": "„Bitte nicht stören“ hält sie zurück.",
  "In Firefox: the lock beside the address, and its permission for notifications.":
    "In Firefox: das Schloss neben der Adresse und seine Berechtigung für Benachrichtigungen.",
  "In the browser: the sign beside the address, and its permission for notifications.":
    "Im Browser: das Zeichen neben der Adresse und seine Berechtigung für Benachrichtigungen.",
  "A browser on a computer receives them only while it runs; some go on in the background when their windows are closed.":
    "Ein Browser auf einem Computer empfängt sie nur, solange er läuft; manche laufen ohne Fenster im Hintergrund weiter.",
  "The system’s own settings can hold back the notifications of the browser, or of everything for a while.":
    "Die Einstellungen des Systems können die Benachrichtigungen des Browsers zurückhalten, oder alle für eine Weile.",

  // Where an alert leads, and what is done from one.
  "That prompt is gone": "Diese Rückfrage ist fort",
  "It was answered elsewhere, or closed by itself.":
    "Sie wurde anderswo beantwortet oder schloss sich von selbst.",
  "Looking for that prompt…": "Diese Rückfrage wird gesucht …",
  "Waiting for the list of %1.": "Warten auf die Liste von %1.",
  "It is not known whether that prompt still waits": "Ob diese Rückfrage noch wartet, ist nicht bekannt",
  "%1 does not list all that waits there.": "%1 führt nicht alles auf, was dort wartet.",
  "There is no word of %1 now.": "Von %1 ist jetzt nichts zu hören.",
  "Something waits at a computer": "Etwas wartet an einem Computer",
  "Open Quillard to see what.": "Öffnen Sie Quillard, um es zu sehen.",
  Open: "Öffnen",
  "Sending %1 to %2…": "%1 wird an %2 gesendet …",
  "It was gone already, and nothing was pressed.": "Sie war schon fort, und nichts wurde gedrückt.",
  "It does not offer that any more. Nothing was pressed. Open Quillard to answer.":
    "Sie bietet das nicht mehr an. Nichts wurde gedrückt. Öffnen Sie Quillard, um zu antworten.",
  "%1 could not be reached, and nothing was pressed. It may still wait.":
    "%1 war nicht erreichbar, und nichts wurde gedrückt. Vielleicht wartet sie noch.",
  "This phone is not paired with %1 any more. Nothing was pressed.":
    "Dieses Telefon ist nicht mehr mit %1 gekoppelt. Nichts wurde gedrückt.",
  "Alerts are paused at %1. Nothing was pressed.": "Meldungen sind an %1 angehalten. Nichts wurde gedrückt.",
  "It is not known what became of it. Open Quillard to see.":
    "Was daraus wurde, ist nicht bekannt. Öffnen Sie Quillard, um es zu sehen.",
} as const satisfies Readonly<Record<string, string>>;
