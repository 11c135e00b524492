<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>vantrel</name>
    <message>
        <source>Vantrel Preferences</source>
        <translation>Vantrel-Einstellungen</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <source>Services</source>
        <translation>Dienste</translation>
    </message>
    <message>
        <source>CloudShark</source>
        <translation>CloudShark</translation>
    </message>
    <message>
        <source>CloudShark (not configured)</source>
        <translation>CloudShark (nicht eingerichtet)</translation>
    </message>
    <message>
        <source>Mojo Packets</source>
        <translation>Mojo Packets</translation>
    </message>
    <message>
        <source>Mojo Packets (not configured)</source>
        <translation>Mojo Packets (nicht eingerichtet)</translation>
    </message>
    <message>
        <source>Desktop</source>
        <translation>Schreibtisch</translation>
    </message>
    <message>
        <source>Ask for each capture</source>
        <translation>Bei jeder Aufzeichnung fragen</translation>
    </message>
    <message>
        <source>Other...</source>
        <translation>Andere …</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>Select</source>
        <translation>Auswählen</translation>
    </message>
    <message>
        <source>not found</source>
        <translation>nicht gefunden</translation>
    </message>
    <message>
        <source>Select an Application</source>
        <translation>Anwendung auswählen</translation>
    </message>
    <message>
        <source>Applications (*.desktop)</source>
        <translation>Anwendungen (*.desktop)</translation>
    </message>
    <message>
        <source>This application cannot be used.</source>
        <translation>Diese Anwendung kann nicht verwendet werden.</translation>
    </message>
    <message>
        <source>%1 does not describe an application that is installed here.</source>
        <translation>%1 beschreibt keine Anwendung, die hier installiert ist.</translation>
    </message>
    <message>
        <source>Show the folder in the file viewer</source>
        <translation>Den Ordner in der Dateiverwaltung zeigen</translation>
    </message>
    <message>
        <source>Show the service in the browser</source>
        <translation>Den Dienst im Browser zeigen</translation>
    </message>
    <message>
        <source>The place is chosen anew for each capture, so there is none to show.</source>
        <translation>Der Ort wird für jede Aufzeichnung neu gewählt, daher gibt es keinen zu zeigen.</translation>
    </message>
    <message>
        <source>The address of the service is not one that a browser can open.</source>
        <translation>Die Adresse des Dienstes ist keine, die ein Browser öffnen kann.</translation>
    </message>
    <message>
        <source>None chosen yet</source>
        <translation>Noch keine gewählt</translation>
    </message>
    <message>
        <source>This is not an address.</source>
        <translation>Das ist keine Adresse.</translation>
    </message>
    <message>
        <source>Begin the address with https:// or http://.</source>
        <translation>Die Adresse muss mit https:// oder http:// beginnen.</translation>
    </message>
    <message>
        <source>Only addresses that begin with https:// or http:// can be used.</source>
        <translation>Nur Adressen, die mit https:// oder http:// beginnen, können verwendet werden.</translation>
    </message>
    <message>
        <source>The address names no server.</source>
        <translation>Die Adresse nennt keinen Server.</translation>
    </message>
    <message>
        <source>Without an address nothing can be uploaded.</source>
        <translation>Ohne Adresse kann nichts hochgeladen werden.</translation>
    </message>
    <message>
        <source>This address is a placeholder and reaches nobody. Enter the address of the service you use.</source>
        <translation>Diese Adresse ist ein Platzhalter und erreicht niemanden. Tragen Sie die Adresse des Dienstes ein, den Sie verwenden.</translation>
    </message>
    <message>
        <source>Captures travel unencrypted to this address. Use https:// if the service offers it.</source>
        <translation>Zu dieser Adresse werden Aufzeichnungen unverschlüsselt übertragen. Verwenden Sie https://, wenn der Dienst es anbietet.</translation>
    </message>
    <message>
        <source>This adapter does not have channel %1.</source>
        <translation>Dieser Adapter hat den Kanal %1 nicht.</translation>
    </message>
    <message>
        <source>This adapter has channel %1 only at more than 20 MHz.</source>
        <translation>Dieser Adapter hat den Kanal %1 nur mit mehr als 20 MHz.</translation>
    </message>
    <message>
        <source>Channels shown in grey cannot be chosen: this adapter does not have them at 20 MHz.</source>
        <translation>Graue Kanäle können nicht gewählt werden: Dieser Adapter hat sie nicht mit 20 MHz.</translation>
    </message>
    <message>
        <source>There is no adapter, so no channel can be chosen.</source>
        <translation>Es gibt keinen Adapter, daher kann kein Kanal gewählt werden.</translation>
    </message>
    <message>
        <source>Channel %1</source>
        <translation>Kanal %1</translation>
    </message>
    <message>
        <source>Choose at least two: a capture that cannot hop records nothing.</source>
        <translation>Wählen Sie mindestens zwei: Eine Aufzeichnung, die nicht wechseln kann, zeichnet nichts auf.</translation>
    </message>
    <message>
        <source>%1 channels are chosen.</source>
        <translation>%1 Kanäle sind gewählt.</translation>
    </message>
    <message>
        <source>Launch at login could not be changed.</source>
        <translation>Der Start bei der Anmeldung konnte nicht geändert werden.</translation>
    </message>
    <message>
        <source>The help could not be opened.</source>
        <translation>Die Hilfe konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>No application opens it. The document is %1</source>
        <translation>Keine Anwendung öffnet sie. Das Dokument ist %1</translation>
    </message>
    <message>
        <source>You don&apos;t have permission to capture on this device.</source>
        <translation>Sie haben keine Berechtigung, auf diesem Gerät aufzuzeichnen.</translation>
    </message>
    <message>
        <source>Go to System Preferences &gt; Users &amp; Groups and make sure you are a member of the group &apos;access_bpf&apos;. You will need to log out and then log back in after making any changes.</source>
        <translation>Öffnen Sie in den Systemeinstellungen „Benutzer &amp; Gruppen“ und stellen Sie sicher, dass Sie Mitglied der Gruppe „access_bpf“ sind. Nach einer Änderung müssen Sie sich ab- und wieder anmelden.</translation>
    </message>
    <message>
        <source>No frames were captured.</source>
        <translation>Es wurden keine Frames aufgezeichnet.</translation>
    </message>
    <message>
        <source>Make sure you set the correct Link-Layer Header type before starting a capture.</source>
        <translation>Stellen Sie vor einer Aufzeichnung den richtigen Link-Layer-Header ein.</translation>
    </message>
    <message>
        <source>The capture was stopped because its file cannot be written.</source>
        <translation>Die Aufzeichnung wurde beendet, weil ihre Datei nicht geschrieben werden kann.</translation>
    </message>
    <message>
        <source>%1: %2. The %3 frames written before that are kept.</source>
        <translation>%1: %2. Die %3 Frames, die zuvor geschrieben wurden, bleiben erhalten.</translation>
    </message>
    <message>
        <source>There is no safe place to write the capture file.</source>
        <translation>Es gibt keinen sicheren Ort für die Aufzeichnung.</translation>
    </message>
    <message>
        <source>The last capture is still being saved.</source>
        <translation>Die letzte Aufzeichnung wird noch gespeichert.</translation>
    </message>
    <message>
        <source>Start the next one when it is saved.</source>
        <translation>Starten Sie die nächste, wenn sie gespeichert ist.</translation>
    </message>
    <message>
        <source>About Vantrel</source>
        <translation>Über Vantrel</translation>
    </message>
    <message>
        <source>The icon of Vantrel</source>
        <translation>Das Symbol von Vantrel</translation>
    </message>
    <message>
        <source>Credits</source>
        <translation>Mitwirkende</translation>
    </message>
    <message>
        <source>Version %1</source>
        <translation>Version %1</translation>
    </message>
    <message>
        <source>Status: Associated</source>
        <translation>Status: Verbunden</translation>
    </message>
    <message>
        <source>Status: Not associated</source>
        <translation>Status: Nicht verbunden</translation>
    </message>
    <message>
        <source>Status: Off</source>
        <translation>Status: Aus</translation>
    </message>
    <message>
        <source>Channel: %1 (%2)</source>
        <translation>Kanal: %1 (%2)</translation>
    </message>
    <message>
        <source>Channel Width: %1 MHz</source>
        <translation>Kanalbreite: %1 MHz</translation>
    </message>
    <message>
        <source>Disconnect from %1</source>
        <translation>Von %1 trennen</translation>
    </message>
    <message>
        <source>Turn Wi-Fi Off</source>
        <translation>WLAN ausschalten</translation>
    </message>
    <message>
        <source>Turn Wi-Fi On</source>
        <translation>WLAN einschalten</translation>
    </message>
    <message>
        <source>2.4 GHz</source>
        <translation>2,4 GHz</translation>
    </message>
    <message>
        <source>5 GHz</source>
        <translation>5 GHz</translation>
    </message>
    <message>
        <source>20 MHz</source>
        <translation>20 MHz</translation>
    </message>
    <message>
        <source>40 MHz</source>
        <translation>40 MHz</translation>
    </message>
    <message>
        <source>80 MHz</source>
        <translation>80 MHz</translation>
    </message>
    <message>
        <source>160 MHz</source>
        <translation>160 MHz</translation>
    </message>
    <message>
        <source>Cha&amp;nnel</source>
        <translation>Ka&amp;nal</translation>
    </message>
    <message>
        <source>Channel &amp;Width</source>
        <translation>Kanal&amp;breite</translation>
    </message>
    <message>
        <source>&amp;Link-Layer Header</source>
        <translation>&amp;Link-Layer-Header</translation>
    </message>
    <message>
        <source>DLT %1</source>
        <translation>DLT %1</translation>
    </message>
    <message>
        <source>Single Channel</source>
        <translation>Ein Kanal</translation>
    </message>
    <message>
        <source>&amp;Capture on Current Channel</source>
        <translation>&amp;Auf aktuellem Kanal aufzeichnen</translation>
    </message>
    <message>
        <source>Capture on &amp;2.4 GHz Channel</source>
        <translation>Auf &amp;2,4-GHz-Kanal aufzeichnen</translation>
    </message>
    <message>
        <source>Capture on &amp;5 GHz Channel</source>
        <translation>Auf &amp;5-GHz-Kanal aufzeichnen</translation>
    </message>
    <message>
        <source>This adapter has no channels in this band.</source>
        <translation>Dieser Adapter hat keine Kanäle in diesem Band.</translation>
    </message>
    <message>
        <source>Multiple Channels</source>
        <translation>Mehrere Kanäle</translation>
    </message>
    <message>
        <source>Capture All 2.&amp;4 GHz Channels</source>
        <translation>Alle 2,&amp;4-GHz-Kanäle aufzeichnen</translation>
    </message>
    <message>
        <source>Capture All 5 &amp;GHz Channels</source>
        <translation>Alle 5-&amp;GHz-Kanäle aufzeichnen</translation>
    </message>
    <message>
        <source>Capture &amp;All Channels</source>
        <translation>Alle &amp;Kanäle aufzeichnen</translation>
    </message>
    <message>
        <source>Capture Custo&amp;m Channels…</source>
        <translation>E&amp;igene Kanäle aufzeichnen …</translation>
    </message>
    <message>
        <source>Configure &amp;Services…</source>
        <translation>&amp;Dienste einrichten …</translation>
    </message>
    <message>
        <source>&amp;Preferences…</source>
        <translation>&amp;Einstellungen …</translation>
    </message>
    <message>
        <source>Launch at Log&amp;in</source>
        <translation>Bei der An&amp;meldung starten</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>Hil&amp;fe</translation>
    </message>
    <message>
        <source>A&amp;bout Vantrel</source>
        <translation>Übe&amp;r Vantrel</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>Been&amp;den</translation>
    </message>
    <message>
        <source>This desktop shows no tray, so the menu is here.</source>
        <translation>Dieser Desktop zeigt keinen Tray, daher ist das Menü hier.</translation>
    </message>
    <message>
        <source>&amp;Menu</source>
        <translation>&amp;Menü</translation>
    </message>
    <message>
        <source>Capturing on Channel %ld (%ld MHz)</source>
        <translation>Aufzeichnung auf Kanal %ld (%ld MHz)</translation>
    </message>
    <message>
        <source>Frames: %1 (%2)</source>
        <translation>Frames: %1 (%2)</translation>
    </message>
    <message>
        <source>File %1 out of %2, frames: %3 (%4)</source>
        <translation>Datei %1 von %2, Frames: %3 (%4)</translation>
    </message>
    <message>
        <source>1 frame lost: it came faster than this computer could take it.</source>
        <translation>1 Frame verloren: Er kam schneller, als dieser Rechner ihn aufnehmen konnte.</translation>
    </message>
    <message>
        <source>%1 frames lost: they came faster than this computer could take them.</source>
        <translation>%1 Frames verloren: Sie kamen schneller, als dieser Rechner sie aufnehmen konnte.</translation>
    </message>
    <message>
        <source>1 frame lost: there is no file to write it to.</source>
        <translation>1 Frame verloren: Es gibt keine Datei für ihn.</translation>
    </message>
    <message>
        <source>%1 frames lost: there is no file to write them to.</source>
        <translation>%1 Frames verloren: Es gibt keine Datei für sie.</translation>
    </message>
    <message>
        <source>capturing</source>
        <translation>zeichnet auf</translation>
    </message>
    <message>
        <source>This operation cannot be done while connected to a network.</source>
        <translation>Das ist nicht möglich, solange eine Verbindung zu einem Netzwerk besteht.</translation>
    </message>
    <message>
        <source>Do you want to disconnect from %1? Vantrel will attempt to reconnect after the capture is done.</source>
        <translation>Möchten Sie die Verbindung zu %1 trennen? Vantrel versucht, sie nach der Aufzeichnung wiederherzustellen.</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>Trennen</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>Capture files are automatically saved to your desktop.</source>
        <translation>Aufzeichnungen werden automatisch auf dem Schreibtisch gespeichert.</translation>
    </message>
    <message>
        <source>You can set a different default location by choosing Preferences from the app&apos;s menu.</source>
        <translation>Einen anderen Ort können Sie im Menü unter „Einstellungen“ wählen.</translation>
    </message>
    <message>
        <source>Start Capture</source>
        <translation>Aufzeichnung starten</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Cannot perform capture!</source>
        <translation>Aufzeichnung nicht möglich!</translation>
    </message>
    <message>
        <source>Failed to set Wi-Fi to channel %1</source>
        <translation>Der Kanal %1 konnte nicht eingestellt werden</translation>
    </message>
    <message>
        <source>Help.html</source>
        <translation>Help_de.html</translation>
    </message>
    <message>
        <source>%lu bytes</source>
        <translation>%lu Bytes</translation>
    </message>
    <message>
        <source>%lu KB</source>
        <translation>%lu KB</translation>
    </message>
    <message>
        <source>%.2f MB</source>
        <translation>%.2f MB</translation>
    </message>
    <message>
        <source>The request timed out.</source>
        <translation>Die Anfrage hat zu lange gedauert.</translation>
    </message>
    <message>
        <source>The network connection was lost.</source>
        <translation>Die Netzwerkverbindung ging verloren.</translation>
    </message>
    <message>
        <source>The server&apos;s answer could not be understood.</source>
        <translation>Die Antwort des Servers war nicht zu verstehen.</translation>
    </message>
    <message>
        <source>The file became shorter while it was uploaded.</source>
        <translation>Die Datei wurde kürzer, während sie hochgeladen wurde.</translation>
    </message>
    <message>
        <source>The server redirected the upload to an insecure address.</source>
        <translation>Der Server leitete das Hochladen zu einer ungesicherten Adresse um.</translation>
    </message>
    <message>
        <source>The server redirected the upload to an unsupported address.</source>
        <translation>Der Server leitete das Hochladen zu einer Adresse um, die nicht unterstützt wird.</translation>
    </message>
    <message>
        <source>The server redirected the upload too many times.</source>
        <translation>Der Server leitete das Hochladen zu oft um.</translation>
    </message>
    <message>
        <source>Failed to save capture file.</source>
        <translation>Die Aufzeichnung konnte nicht gespeichert werden.</translation>
    </message>
    <message>
        <source>%1. The capture file is kept as %2</source>
        <translation>%1. Die Aufzeichnung liegt als %2</translation>
    </message>
    <message>
        <source>%1. The capture file is kept as %2. Frames are lost, and counted, until it can be saved.</source>
        <translation>%1. Die Aufzeichnung liegt als %2. Bis sie gespeichert werden kann, gehen Frames verloren und werden gezählt.</translation>
    </message>
    <message>
        <source>there is a folder of that name</source>
        <translation>es gibt einen Ordner dieses Namens</translation>
    </message>
    <message>
        <source>Capture completed</source>
        <translation>Aufzeichnung abgeschlossen</translation>
    </message>
    <message>
        <source>Dismiss</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>%lu frames (%s)</source>
        <translation>%lu Frames (%s)</translation>
    </message>
    <message>
        <source>%lu %s, %lu frames (%s)</source>
        <translation>%lu %s, %lu Frames (%s)</translation>
    </message>
    <message>
        <source>file</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>A capture was not saved</source>
        <translation>Eine Aufzeichnung wurde nicht gespeichert</translation>
    </message>
    <message>
        <source>Captures were not saved</source>
        <translation>Aufzeichnungen wurden nicht gespeichert</translation>
    </message>
    <message>
        <source>Left over from an earlier run (%1)</source>
        <translation>Übrig von einem früheren Lauf (%1)</translation>
    </message>
    <message>
        <source>%1 files left over from an earlier run (%2)</source>
        <translation>%1 Dateien, übrig von einem früheren Lauf (%2)</translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Zeigen</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a folder.</source>
        <translation>„%1“ ist kein Ordner.</translation>
    </message>
    <message>
        <source>The %1 &quot;%2&quot; no longer exists.</source>
        <translation>%1 „%2“ gibt es nicht mehr.</translation>
    </message>
    <message>
        <source>The %1 &quot;%2&quot; cannot be reached: %3.</source>
        <translation>%1 „%2“ ist nicht zu erreichen: %3.</translation>
    </message>
    <message>
        <source>Failed to open web page.</source>
        <translation>Die Webseite konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>No application is installed that opens the address &quot;%1&quot;.</source>
        <translation>Keine installierte Anwendung öffnet die Adresse „%1“.</translation>
    </message>
    <message>
        <source>Failed to open folder.</source>
        <translation>Der Ordner konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Failed to show capture file.</source>
        <translation>Die Aufzeichnung konnte nicht gezeigt werden.</translation>
    </message>
    <message>
        <source>Failed to open capture file.</source>
        <translation>Die Aufzeichnung konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>application</source>
        <translation>Anwendung</translation>
    </message>
    <message>
        <source>&quot;%1&quot; cannot be opened with &quot;%2&quot;, which describes no application whose program is installed.</source>
        <translation>„%1“ kann nicht mit „%2“ geöffnet werden: Das beschreibt keine Anwendung, deren Programm installiert ist.</translation>
    </message>
    <message>
        <source>No application is installed that shows &quot;%1&quot;.</source>
        <translation>Keine installierte Anwendung zeigt „%1“.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; could not be opened with %2: %3</source>
        <translation>„%1“ konnte nicht mit %2 geöffnet werden: %3</translation>
    </message>
    <message>
        <source>Invalid credentials.</source>
        <translation>Die Zugangsdaten sind ungültig.</translation>
    </message>
    <message>
        <source>There was an error contacting the Mojo Packets API.</source>
        <translation>Bei der Verbindung mit Mojo Packets trat ein Fehler auf.</translation>
    </message>
    <message>
        <source>Capture successfully uploaded to CloudShark</source>
        <translation>Aufzeichnung zu CloudShark hochgeladen</translation>
    </message>
    <message>
        <source>Failed to upload capture to CloudShark.</source>
        <translation>Die Aufzeichnung konnte nicht zu CloudShark hochgeladen werden.</translation>
    </message>
    <message>
        <source>Capture successfully uploaded to Mojo Packets</source>
        <translation>Aufzeichnung zu Mojo Packets hochgeladen</translation>
    </message>
    <message>
        <source>Failed to upload capture to Mojo Packets.</source>
        <translation>Die Aufzeichnung konnte nicht zu Mojo Packets hochgeladen werden.</translation>
    </message>
    <message>
        <source>The Python interpreter %1 cannot be started: %2.</source>
        <translation>Der Python-Interpreter %1 kann nicht gestartet werden: %2.</translation>
    </message>
    <message>
        <source>The Python interpreter %1 is not installed.</source>
        <translation>Der Python-Interpreter %1 ist nicht installiert.</translation>
    </message>
    <message>
        <source> On Debian, the package python-is-python3 provides it.</source>
        <translation> Auf Debian kommt er mit dem Paket python-is-python3.</translation>
    </message>
    <message>
        <source>Credits.html</source>
        <translation>Credits_de.html</translation>
    </message>
    <message>
        <source>This is a beta version of Vantrel.</source>
        <translation>Dies ist eine Betaversion von Vantrel.</translation>
    </message>
    <message>
        <source>This copy is provided &quot;AS IS&quot; without warranty of any kind, for testing purposes only.</source>
        <translation>Diese Kopie wird „WIE SIE IST“, ohne jede Gewährleistung und nur zum Testen bereitgestellt.</translation>
    </message>
    <message>
        <source>Accept</source>
        <translation>Annehmen</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Select a Folder</source>
        <translation>Ordner wählen</translation>
    </message>
    <message>
        <source>Save Capture File</source>
        <translation>Aufzeichnung speichern</translation>
    </message>
    <message>
        <source>Capture files (*.%1)</source>
        <translation>Aufzeichnungen (*.%1)</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Upload Capture File</source>
        <translation>Aufzeichnung hochladen</translation>
    </message>
    <message>
        <source>Capture files (*.cap *.CAP *.pcap *.PCAP *.pcapng *.PCAPNG *.wcap *.WCAP)</source>
        <translation>Aufzeichnungen (*.cap *.CAP *.pcap *.PCAP *.pcapng *.PCAPNG *.wcap *.WCAP)</translation>
    </message>
    <message>
        <source>Upload</source>
        <translation>Hochladen</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Save As...</source>
        <translation>Speichern unter …</translation>
    </message>
    <message>
        <source>&amp;Upload Capture</source>
        <translation>Aufzeichnung &amp;hochladen</translation>
    </message>
    <message>
        <source>To &amp;CloudShark…</source>
        <translation>Zu &amp;CloudShark …</translation>
    </message>
    <message>
        <source>To &amp;Mojo Packets…</source>
        <translation>Zu &amp;Mojo Packets …</translation>
    </message>
    <message>
        <source>&amp;Show</source>
        <translation>&amp;Zeigen</translation>
    </message>
    <message>
        <source>Do not show this message again</source>
        <translation>Diese Meldung nicht mehr zeigen</translation>
    </message>
    <message>
        <source>No script</source>
        <translation>Kein Skript</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>
… and %1 characters more.</source>
        <translation>
… und %1 weitere Zeichen.</translation>
    </message>
    <message>
        <source>&amp;Launch</source>
        <translation>&amp;Starten</translation>
    </message>
    <message>
        <source>Run the chosen script on the capture</source>
        <translation>Das gewählte Skript mit der Aufzeichnung ausführen</translation>
    </message>
    <message>
        <source>&amp;Stop</source>
        <translation>&amp;Stopp</translation>
    </message>
    <message>
        <source>End the script; nothing more is told of it</source>
        <translation>Das Skript beenden; danach wird nichts mehr von ihm gemeldet</translation>
    </message>
    <message>
        <source>Choose a Script</source>
        <translation>Skript wählen</translation>
    </message>
    <message>
        <source>Python scripts (*.py)</source>
        <translation>Python-Skripte (*.py)</translation>
    </message>
    <message>
        <source>Launch</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>The script does not exist.</source>
        <translation>Das Skript gibt es nicht.</translation>
    </message>
    <message>
        <source>The script &apos;%1&apos; cannot be found.</source>
        <translation>Das Skript „%1“ ist nicht zu finden.</translation>
    </message>
    <message>
        <source>No output was produced.</source>
        <translation>Es gab keine Ausgabe.</translation>
    </message>
    <message>
        <source>The script terminated successfully but no output was produced.</source>
        <translation>Das Skript endete ohne Fehler, gab aber nichts aus.</translation>
    </message>
    <message>
        <source>The script failed to run.</source>
        <translation>Das Skript ist gescheitert.</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>The file %1 cannot be made. Frames are lost, and counted, without it.</source>
        <translation>Die Datei %1 kann nicht angelegt werden. Ohne sie gehen Frames verloren und werden gezählt.</translation>
    </message>
    <message>
        <source>The capture has no file.</source>
        <translation>Die Aufzeichnung hat keine Datei.</translation>
    </message>
    <message>
        <source>The file cannot be read: %1.</source>
        <translation>Die Datei kann nicht gelesen werden: %1.</translation>
    </message>
</context>
<context>
    <name>vantrel::preferences::MASPreferencesWindow</name>
    <message>
        <source>Panes</source>
        <translation>Bereiche</translation>
    </message>
</context>
<context>
    <name>vantrel::preferences::VantrelAdvancedPrefsViewController</name>
    <message>
        <source>5 GHz bands:</source>
        <translation>5-GHz-Bänder:</translation>
    </message>
    <message>
        <source>U-NII-&amp;1 (channels 36 to 48)</source>
        <translation>U-NII-&amp;1 (Kanäle 36 bis 48)</translation>
    </message>
    <message>
        <source>U-NII-&amp;2 (channels 52 to 64)</source>
        <translation>U-NII-&amp;2 (Kanäle 52 bis 64)</translation>
    </message>
    <message>
        <source>U-NII-2 &amp;extended (channels 100 to 144)</source>
        <translation>U-NII-2 &amp;erweitert (Kanäle 100 bis 144)</translation>
    </message>
    <message>
        <source>U-NII-&amp;3 (channels 149 to 165)</source>
        <translation>U-NII-&amp;3 (Kanäle 149 bis 165)</translation>
    </message>
    <message>
        <source>Hopping over all channels, or all of 5 GHz, listens in these bands.</source>
        <translation>Der Wechsel über alle Kanäle oder alle mit 5 GHz hört in diesen Bändern mit.</translation>
    </message>
    <message>
        <source>&amp;Time on each channel:</source>
        <translation>&amp;Zeit je Kanal:</translation>
    </message>
    <message>
        <source>Time on each channel</source>
        <translation>Zeit je Kanal</translation>
    </message>
    <message>
        <source>milliseconds</source>
        <translation>Millisekunden</translation>
    </message>
    <message>
        <source>At least 100. It holds for the next capture that hops.</source>
        <translation>Mindestens 100. Gilt ab der nächsten Aufzeichnung mit Kanalwechsel.</translation>
    </message>
    <message>
        <source>Custom channels:</source>
        <translation>Eigene Kanäle:</translation>
    </message>
    <message>
        <source>&amp;Choose…</source>
        <translation>&amp;Wählen …</translation>
    </message>
    <message>
        <source>Chooses the channels of a capture on custom channels</source>
        <translation>Wählt die Kanäle einer Aufzeichnung auf eigenen Kanälen</translation>
    </message>
    <message>
        <source>Networks:</source>
        <translation>Netzwerke:</translation>
    </message>
    <message>
        <source>&amp;Ask before leaving a network to hop or tune</source>
        <translation>&amp;Fragen, bevor zum Wechseln oder Abstimmen ein Netzwerk verlassen wird</translation>
    </message>
    <message>
        <source>Off, such a capture leaves the network at once. Vantrel rejoins it afterwards.</source>
        <translation>Sonst verlässt eine solche Aufzeichnung das Netzwerk sofort. Danach verbindet Vantrel wieder.</translation>
    </message>
    <message>
        <source>Leave the network for a capture on the c&amp;urrent channel too</source>
        <translation>Das Netzwerk auch für eine Aufzeichnung auf dem &amp;aktuellen Kanal verlassen</translation>
    </message>
    <message>
        <source>Off, the computer stays connected while such a capture runs.</source>
        <translation>Sonst bleibt der Rechner während einer solchen Aufzeichnung verbunden.</translation>
    </message>
    <message>
        <source>Frames:</source>
        <translation>Frames:</translation>
    </message>
    <message>
        <source>Keep only the &amp;headers of data frames</source>
        <translation>Von Datenframes nur die &amp;Kopfdaten behalten</translation>
    </message>
    <message>
        <source>Files grow more slowly and hold less of what people sent. Damaged frames are kept whole.</source>
        <translation>Dateien wachsen langsamer und enthalten weniger von dem, was gesendet wurde. Beschädigte Frames bleiben vollständig.</translation>
    </message>
</context>
<context>
    <name>vantrel::preferences::VantrelCustomChannelsPanel</name>
    <message>
        <source>Choose Channels</source>
        <translation>Kanäle wählen</translation>
    </message>
    <message>
        <source>2.4 GHz</source>
        <translation>2,4 GHz</translation>
    </message>
    <message>
        <source>5 GHz, U-NII-1</source>
        <translation>5 GHz, U-NII-1</translation>
    </message>
    <message>
        <source>5 GHz, U-NII-2</source>
        <translation>5 GHz, U-NII-2</translation>
    </message>
    <message>
        <source>5 GHz, U-NII-2 extended</source>
        <translation>5 GHz, U-NII-2 erweitert</translation>
    </message>
    <message>
        <source>5 GHz, U-NII-3</source>
        <translation>5 GHz, U-NII-3</translation>
    </message>
    <message>
        <source>Other channels</source>
        <translation>Weitere Kanäle</translation>
    </message>
    <message>
        <source>Select &amp;All</source>
        <translation>&amp;Alle wählen</translation>
    </message>
    <message>
        <source>Select &amp;None</source>
        <translation>&amp;Keine wählen</translation>
    </message>
</context>
<context>
    <name>vantrel::preferences::VantrelGeneralPrefsViewController</name>
    <message>
        <source>&amp;Save captures to:</source>
        <translation>&amp;Speichern unter:</translation>
    </message>
    <message>
        <source>S&amp;how</source>
        <translation>Zei&amp;gen</translation>
    </message>
    <message>
        <source>When saved:</source>
        <translation>Nach dem Speichern:</translation>
    </message>
    <message>
        <source>When saved</source>
        <translation>Nach dem Speichern</translation>
    </message>
    <message>
        <source>Do &amp;nothing more</source>
        <translation>&amp;Nichts weiter tun</translation>
    </message>
    <message>
        <source>&amp;Open in</source>
        <translation>Ö&amp;ffnen mit</translation>
    </message>
    <message>
        <source>Application that opens captures</source>
        <translation>Anwendung, die Aufzeichnungen öffnet</translation>
    </message>
    <message>
        <source>&amp;Run a script</source>
        <translation>Ein S&amp;kript ausführen</translation>
    </message>
    <message>
        <source>A capture of several files is only saved.</source>
        <translation>Eine Aufzeichnung aus mehreren Dateien wird nur gespeichert.</translation>
    </message>
    <message>
        <source>Scripts:</source>
        <translation>Skripte:</translation>
    </message>
    <message>
        <source>Close the script&apos;s window at the &amp;end</source>
        <translation>Das Fenster des Skripts am &amp;Ende schließen</translation>
    </message>
    <message>
        <source>What the script printed stands in a file beside the capture.</source>
        <translation>Was das Skript ausgegeben hat, steht in einer Datei neben der Aufzeichnung.</translation>
    </message>
    <message>
        <source>&amp;Warn when a script prints nothing</source>
        <translation>&amp;Warnen, wenn ein Skript nichts ausgibt</translation>
    </message>
    <message>
        <source>Off, a script without a result ends silently.</source>
        <translation>Sonst endet ein Skript ohne Ergebnis stillschweigend.</translation>
    </message>
    <message>
        <source>Capture files:</source>
        <translation>Dateien:</translation>
    </message>
    <message>
        <source>&amp;Limit each file to</source>
        <translation>Jede Datei &amp;begrenzen auf</translation>
    </message>
    <message>
        <source>Limit of a capture file</source>
        <translation>Grenze einer Datei</translation>
    </message>
    <message>
        <source>Unit of the limit</source>
        <translation>Einheit der Grenze</translation>
    </message>
    <message>
        <source>kilobytes</source>
        <translation>Kilobyte</translation>
    </message>
    <message>
        <source>megabytes</source>
        <translation>Megabyte</translation>
    </message>
    <message>
        <source>seconds</source>
        <translation>Sekunden</translation>
    </message>
    <message>
        <source>minutes</source>
        <translation>Minuten</translation>
    </message>
    <message>
        <source>frames</source>
        <translation>Frames</translation>
    </message>
    <message>
        <source>N&amp;umber of files:</source>
        <translation>An&amp;zahl der Dateien:</translation>
    </message>
    <message>
        <source>Number of files</source>
        <translation>Anzahl der Dateien</translation>
    </message>
    <message>
        <source>1 to 100</source>
        <translation>1 bis 100</translation>
    </message>
    <message>
        <source>&amp;Keep capturing when all files are full</source>
        <translation>Weiter aufzeichnen, wenn alle Dateien &amp;voll sind</translation>
    </message>
    <message>
        <source>Each new file then takes the place of the oldest. Off, the capture ends.</source>
        <translation>Jede neue Datei ersetzt dann die älteste. Sonst endet die Aufzeichnung.</translation>
    </message>
    <message>
        <source>Notification:</source>
        <translation>Mitteilung:</translation>
    </message>
    <message>
        <source>&amp;Tell me when a capture has been saved</source>
        <translation>&amp;Melden, wenn eine Aufzeichnung gespeichert wurde</translation>
    </message>
    <message>
        <source>A click on the notification shows the file in its folder.</source>
        <translation>Ein Klick auf die Mitteilung zeigt die Datei in ihrem Ordner.</translation>
    </message>
    <message>
        <source>In the tray:</source>
        <translation>Im Tray:</translation>
    </message>
    <message>
        <source>Show the &amp;channel</source>
        <translation>Den Kana&amp;l zeigen</translation>
    </message>
    <message>
        <source>Show the channel w&amp;idth</source>
        <translation>Die Kanalb&amp;reite zeigen</translation>
    </message>
</context>
<context>
    <name>vantrel::preferences::VantrelServicesPrefsViewController</name>
    <message>
        <source>CloudShark</source>
        <translation>CloudShark</translation>
    </message>
    <message>
        <source>&amp;Address:</source>
        <translation>&amp;Adresse:</translation>
    </message>
    <message>
        <source>CloudShark address</source>
        <translation>CloudShark-Adresse</translation>
    </message>
    <message>
        <source>API &amp;token:</source>
        <translation>API-Toke&amp;n:</translation>
    </message>
    <message>
        <source>CloudShark API token</source>
        <translation>CloudShark-API-Token</translation>
    </message>
    <message>
        <source>&amp;Show</source>
        <translation>&amp;Zeigen</translation>
    </message>
    <message>
        <source>Show: CloudShark API token</source>
        <translation>Zeigen: CloudShark-API-Token</translation>
    </message>
    <message>
        <source>&amp;Help…</source>
        <translation>&amp;Hilfe …</translation>
    </message>
    <message>
        <source>Opens the help of CloudShark in the browser</source>
        <translation>Öffnet die Hilfe von CloudShark im Browser</translation>
    </message>
    <message>
        <source>Mojo Packets</source>
        <translation>Mojo Packets</translation>
    </message>
    <message>
        <source>A&amp;ddress:</source>
        <translation>A&amp;dresse:</translation>
    </message>
    <message>
        <source>Mojo Packets address</source>
        <translation>Mojo-Packets-Adresse</translation>
    </message>
    <message>
        <source>&amp;E-mail:</source>
        <translation>&amp;E-Mail:</translation>
    </message>
    <message>
        <source>Mojo Packets e-mail</source>
        <translation>Mojo-Packets-E-Mail</translation>
    </message>
    <message>
        <source>API &amp;key:</source>
        <translation>API-&amp;Schlüssel:</translation>
    </message>
    <message>
        <source>Mojo Packets API key</source>
        <translation>Mojo-Packets-API-Schlüssel</translation>
    </message>
    <message>
        <source>Sh&amp;ow</source>
        <translation>Zei&amp;gen</translation>
    </message>
    <message>
        <source>Show: Mojo Packets API key</source>
        <translation>Zeigen: Mojo-Packets-API-Schlüssel</translation>
    </message>
    <message>
        <source>He&amp;lp…</source>
        <translation>Hi&amp;lfe …</translation>
    </message>
    <message>
        <source>Opens the help of Mojo Packets in the browser</source>
        <translation>Öffnet die Hilfe von Mojo Packets im Browser</translation>
    </message>
    <message>
        <source>Uploading to CloudShark needs its address and its token; uploading to Mojo Packets needs the e-mail and the key.</source>
        <translation>Das Hochladen zu CloudShark braucht Adresse und Token, das Hochladen zu Mojo Packets E-Mail und Schlüssel.</translation>
    </message>
</context>
<context>
    <name>vantrel::ui::TagsView</name>
    <message>
        <source>&amp;Tags:</source>
        <translation>Schlag&amp;wörter:</translation>
    </message>
    <message>
        <source>Tags</source>
        <translation>Schlagwörter</translation>
    </message>
    <message>
        <source>C&amp;omments:</source>
        <translation>K&amp;ommentar:</translation>
    </message>
    <message>
        <source>Comments</source>
        <translation>Kommentar</translation>
    </message>
</context>
<context>
    <name>vantrel::ui::VantrelProgressPanel</name>
    <message>
        <source>Used part of the file&apos;s limit</source>
        <translation>Verbrauchter Teil der Dateigrenze</translation>
    </message>
    <message>
        <source>End the capture and throw it away</source>
        <translation>Die Aufzeichnung beenden und verwerfen</translation>
    </message>
    <message>
        <source>Ends the capture and throws it away</source>
        <translation>Beendet die Aufzeichnung und verwirft sie</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message>
        <source>End the capture and keep what was captured</source>
        <translation>Die Aufzeichnung beenden und behalten</translation>
    </message>
    <message>
        <source>Ends the capture and keeps what was captured</source>
        <translation>Beendet die Aufzeichnung und behält sie</translation>
    </message>
    <message>
        <source>&amp;Stop</source>
        <translation>&amp;Stopp</translation>
    </message>
</context>
<context>
    <name>vantrel::ui::VantrelScriptPanel</name>
    <message>
        <source>Sc&amp;ript:</source>
        <translation>Sk&amp;ript:</translation>
    </message>
    <message>
        <source>Script</source>
        <translation>Skript</translation>
    </message>
    <message>
        <source>Add a script to the list and run it</source>
        <translation>Ein Skript zur Liste hinzufügen und ausführen</translation>
    </message>
    <message>
        <source>&amp;Choose…</source>
        <translation>&amp;Wählen …</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Ausgabe</translation>
    </message>
    <message>
        <source>What the script printed</source>
        <translation>Was das Skript ausgab</translation>
    </message>
    <message>
        <source>The output of the script</source>
        <translation>Die Ausgabe des Skripts</translation>
    </message>
    <message>
        <source>Activity of the script</source>
        <translation>Tätigkeit des Skripts</translation>
    </message>
    <message>
        <source>&amp;Launch</source>
        <translation>&amp;Starten</translation>
    </message>
</context>
</TS>
