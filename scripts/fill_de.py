#!/usr/bin/python3
# Fills src/ui/translations/tarnwell_de.ts from the table below (run after lupdate when texts change).
import sys
import xml.etree.ElementTree as ET

DE = {
 'Tarnwell': 'Tarnwell', 'Mount': 'Verbinden', 'Eject': 'Auswerfen', 'Clean Up': 'Aufräumen', 'Verify': 'Prüfen',
 'Add': 'Hinzufügen', 'Edit': 'Bearbeiten', 'Duplicate': 'Duplizieren', 'Delete': 'Löschen',
 'Pause Auto-Mount': 'Auto-Mount pausieren', 'Shares': 'Freigaben', 'Logs': 'Protokolle',
 '%1 is mounted.': '%1 ist verbunden.', '%1: %2': '%1: %2', '%1 was ejected.': '%1 wurde ausgeworfen.',
 '%1 could not be ejected.': '%1 konnte nicht ausgeworfen werden.',
 'Clean Up finished for %1.': 'Aufräumen für %1 abgeschlossen.', 'Auto-mount paused.': 'Auto-Mount pausiert.',
 'Auto-mount resumed.': 'Auto-Mount fortgesetzt.', 'View': 'Ansehen', 'Resume Auto-Mount': 'Auto-Mount fortsetzen',
 'Mounted at %1.': 'Verbunden unter %1.',
 'Mounted; auto-mount is paused and will not reconnect it after a drop.':
   'Verbunden; Auto-Mount ist pausiert und verbindet nach einem Abbruch nicht neu.',
 'Auto-mount is paused: this share is not mounted automatically until you resume.':
   'Auto-Mount ist pausiert: Diese Freigabe wird erst nach dem Fortsetzen wieder automatisch verbunden.',
 'Empty folders left by lost connections were removed.':
   'Leere Ordner verlorener Verbindungen wurden entfernt.',
 'Not mounted. Select Mount to connect.': 'Nicht verbunden. Wählen Sie „Verbinden“.',
 'Ejected. Auto-mount shares are mounted again at the next check.':
   'Ausgeworfen. Auto-Mount-Freigaben werden bei der nächsten Prüfung wieder verbunden.',
 'Connecting to %1…': 'Verbinde mit %1…',
 'The server does not answer. Check that it is on and reachable from this network.':
   'Der Server antwortet nicht. Prüfen Sie, ob er eingeschaltet und aus diesem Netz erreichbar ist.',
 'The server has no share of that name. Check the share name (it is case-sensitive).':
   'Der Server hat keine Freigabe dieses Namens. Prüfen Sie den Freigabenamen (Groß-/Kleinschreibung).',
 "The server refused access. Check the account's rights on this share.":
   'Der Server verweigert den Zugriff. Prüfen Sie die Rechte des Kontos auf dieser Freigabe.',
 'User name or password incorrect. Edit the share to correct them.':
   'Benutzername oder Passwort falsch. Bearbeiten Sie die Freigabe, um sie zu korrigieren.',
 'The server took too long to answer. Try again, or raise the mount timeout in Preferences.':
   'Der Server hat zu lange gebraucht. Versuchen Sie es erneut oder erhöhen Sie das Verbindungs-Zeitlimit in den Einstellungen.',
 'No connection to the server could be made.': 'Es konnte keine Verbindung zum Server hergestellt werden.',
 "The server's name could not be resolved. Check the name, or use its address.":
   'Der Servername konnte nicht aufgelöst werden. Prüfen Sie den Namen oder verwenden Sie die Adresse.',
 'The last attempt failed; see the Logs tab for details.':
   'Der letzte Versuch ist fehlgeschlagen; Details im Tab „Protokolle“.',
 '%1 is no longer mounted.': '%1 ist nicht mehr verbunden.', 'Share added.': 'Freigabe hinzugefügt.',
 'Share duplicated.': 'Freigabe dupliziert.', 'Delete Share?': 'Freigabe löschen?',
 '"%1" will be removed from Tarnwell. This action cannot be undone.':
   '„%1“ wird aus Tarnwell entfernt. Dies kann nicht rückgängig gemacht werden.',
 'Share deleted.': 'Freigabe gelöscht.',
 'Auto-mount can be paused only while at least one share is mounted':
   'Auto-Mount kann nur pausiert werden, solange mindestens eine Freigabe verbunden ist',
 '&Tarnwell': '&Tarnwell', 'Preferences…': 'Einstellungen…', 'Log Manager…': 'Protokollverwaltung…',
 'Quit Tarnwell': 'Tarnwell beenden', 'Error Codes Reference': 'Fehlercode-Referenz',
 "These are the error codes in a mount failure's status and log line. This system's mount service (GVfs) reports its failures in this numbering, which follows the BSD system error codes.":
   'Dies sind die Fehlercodes im Status und in der Protokollzeile eines fehlgeschlagenen Verbindens. Der Verbindungsdienst dieses Systems (GVfs) meldet seine Fehler in dieser Nummerierung, die den BSD-Systemfehlercodes folgt.',
 'Code': 'Code', 'Name': 'Name', 'Description': 'Beschreibung', 'Done': 'Fertig',
 'System Default': 'Systemstandard', 'Date': 'Datum', 'Time': 'Zeit', 'Status': 'Status',
 'Status Text': 'Statustext', 'Message': 'Meldung', 'Server': 'Server', 'Copy': 'Kopieren',
 'Clear Log': 'Protokoll leeren', 'Error Codes': 'Fehlercodes',
 'View a reference of common error codes and their meanings':
   'Eine Übersicht häufiger Fehlercodes und ihrer Bedeutung anzeigen',
 'Clear All Logs?': 'Alle Protokolle löschen?',
 'This will permanently delete all log entries. This action cannot be undone.':
   'Alle Protokolleinträge werden dauerhaft gelöscht. Dies kann nicht rückgängig gemacht werden.',
 'Clear Logs': 'Protokolle löschen', 'Log Manager': 'Protokollverwaltung',
 'Tarnwell Preferences': 'Tarnwell-Einstellungen', 'Connections': 'Verbindungen',
 'Connection test timeout:': 'Zeitlimit Verbindungstest:', ' s': ' s', 'Range: 1 - 5 seconds': 'Bereich: 1 - 5 Sekunden',
 'Mount timeout:': 'Zeitlimit Verbinden:', 'Range: 10 - 300 seconds': 'Bereich: 10 - 300 Sekunden',
 'Auto-remount interval:': 'Intervall Auto-Remount:',
 'Range: 10 - 1440 seconds (default 15). How often Tarnwell re-checks Auto-Mount and Scheduled Mount shares. Lower = faster reconnect after a drop; higher = quieter on the network.':
   'Bereich: 10 - 1440 Sekunden (Standard 15). Wie oft Tarnwell Auto-Mount- und geplante Freigaben prüft. Niedriger = schnelleres Neuverbinden nach einem Abbruch; höher = weniger Netzverkehr.',
 'Keep at most:': 'Höchstens behalten:', ' entries': ' Einträge', 'Range: 10 - 2000 entries': 'Bereich: 10 - 2000 Einträge',
 'Auto-delete logs when share is removed': 'Protokolle beim Entfernen einer Freigabe automatisch löschen',
 "Removes log history for a share when it's deleted": 'Entfernt den Protokollverlauf einer Freigabe, wenn sie gelöscht wird',
 'Clear All Logs…': 'Alle Protokolle löschen…',
 'Clear all logs if needed for security or privacy reasons.':
   'Alle Protokolle löschen, falls aus Sicherheits- oder Datenschutzgründen nötig.',
 'Open Logs': 'Protokolle öffnen',
 'Bring Tarnwell to the front and open the Logs tab.': 'Tarnwell in den Vordergrund holen und den Tab „Protokolle“ öffnen.',
 'Application': 'Anwendung', 'Open Dashboard at Startup': 'Übersicht beim Start öffnen',
 'Play action sounds': 'Aktionstöne abspielen',
 'Play a short sound when you click Mount, Eject, Pause, or Clean Up. Silent when the desktop is muted.':
   'Spielt einen kurzen Ton bei Verbinden, Auswerfen, Pause oder Aufräumen. Stumm, wenn der Desktop stummgeschaltet ist.',
 'This build plays no sounds.': 'Diese Version spielt keine Töne ab.', 'Tray only': 'Nur im Infobereich',
 'Tray and taskbar': 'Infobereich und Taskleiste', 'Taskbar only': 'Nur in der Taskleiste',
 'Show Tarnwell in:': 'Tarnwell anzeigen in:', 'Start at login': 'Bei der Anmeldung starten',
 'Restart Required': 'Neustart erforderlich',
 'The language change will take effect after restarting Tarnwell.':
   'Die neue Sprache gilt nach einem Neustart von Tarnwell.',
 'Language:': 'Sprache:', 'Configuration': 'Konfiguration', 'Import…': 'Importieren…', 'Export…': 'Exportieren…',
 'Configuration import and export are not part of this build yet.':
   'Import und Export der Konfiguration sind in dieser Version noch nicht enthalten.',
 "Updates come with your distribution's packages.": 'Aktualisierungen kommen mit den Paketen Ihrer Distribution.',
 'Network port number. Leave empty for defaults:\n• SMB: 445\n• AFP: 548\n• NFS: 2049\n• WebDAV: 80\n• WebDAV Secure: 443\n\nOnly change if your server uses a non-standard port.':
   'Netzwerk-Port. Leer lassen für die Standardwerte:\n• SMB: 445\n• AFP: 548\n• NFS: 2049\n• WebDAV: 80\n• WebDAV Secure: 443\n\nNur ändern, wenn Ihr Server einen anderen Port verwendet.',
 'This is the URL Tarnwell will mount. Select the text to copy it.\nA Share Name of RAW becomes /RAW on the server; leave it blank for /.':
   'Diese URL verbindet Tarnwell. Markieren Sie den Text, um ihn zu kopieren.\nDer Freigabename RAW wird zu /RAW auf dem Server; leer lassen für /.',
 'For WebDAV, leave Share Name blank to mount the server root.':
   'Bei WebDAV den Freigabenamen leer lassen, um das Stammverzeichnis des Servers zu verbinden.',
 'Add Share': 'Freigabe hinzufügen', 'Edit Share': 'Freigabe bearbeiten', 'IT-Managed Share': 'Von der IT verwaltete Freigabe',
 'This share is managed by %1. Settings cannot be modified.':
   'Diese Freigabe wird von %1 verwaltet. Die Einstellungen können nicht geändert werden.',
 'Connection': 'Verbindung', 'Optional display name': 'Optionaler Anzeigename', 'Name:': 'Name:',
 'SMB': 'SMB', 'AFP': 'AFP', 'NFS': 'NFS', 'WebDAV': 'WebDAV', 'WebDAV Secure': 'WebDAV Secure',
 'Protocol:': 'Protokoll:', 'Server name or address': 'Servername oder Adresse', 'Server:': 'Server:',
 'Default': 'Standard', 'Port:': 'Port:', 'Share Name:': 'Freigabename:', 'Mount URL:': 'Verbindungs-URL:',
 'Guest login (no password)': 'Gastzugang (ohne Passwort)', 'User:': 'Benutzer:',
 'Stored in the keyring': 'Im Schlüsselbund gespeichert', 'No keyring available': 'Kein Schlüsselbund verfügbar',
 'Password:': 'Passwort:', 'e.g., Work, Media': 'z. B. Arbeit, Medien', 'Group:': 'Gruppe:',
 'Mounting and automation': 'Verbinden und Automatik', 'Mount at a custom folder': 'In einem eigenen Ordner verbinden',
 'Folder:': 'Ordner:', 'Auto-mount (keep mounted)': 'Auto-Mount (verbunden halten)', 'Scheduled mount': 'Geplantes Verbinden',
 'until': 'bis', 'Mount from:': 'Verbinden von:', 'Days:': 'Tage:', 'Any network': 'Jedes Netz',
 'Comma-separated Wi-Fi network names the share may mount on. Empty: any network.':
   'Kommagetrennte WLAN-Namen, in denen die Freigabe verbunden werden darf. Leer: jedes Netz.',
 'Allowed Wi-Fi:': 'Erlaubtes WLAN:', 'e.g. 00:11:22:33:44:55': 'z. B. 00:11:22:33:44:55',
 'Hardware address of the server, woken with a Wake-on-LAN packet before mounting.':
   'Hardware-Adresse des Servers; er wird vor dem Verbinden per Wake-on-LAN geweckt.',
 'Wake-on-LAN:': 'Wake-on-LAN:', 'After mount:': 'Nach dem Verbinden:', 'Before eject:': 'Vor dem Auswerfen:',
 'Choose…': 'Auswählen…', 'Choose Mount Folder': 'Ordner zum Verbinden wählen', 'Choose Script': 'Skript wählen',
 '(enter a server)': '(Server eingeben)', 'Loading…': 'Wird geladen…',
 "Enter the server's name or address.": 'Geben Sie den Namen oder die Adresse des Servers ein.',
 'A server name has no spaces or slashes; enter the share name below.':
   'Ein Servername enthält keine Leerzeichen oder Schrägstriche; den Freigabenamen unten eingeben.',
 "A port is a number from 1 to 65535, or empty for the protocol's default.":
   'Ein Port ist eine Zahl von 1 bis 65535, oder leer für den Standard des Protokolls.',
 'Enter the share name. %1': 'Geben Sie den Freigabenamen ein. %1',
 'Enter a user name, or choose guest login.': 'Geben Sie einen Benutzernamen ein oder wählen Sie den Gastzugang.',
 'Choose a full folder path (beginning with /).': 'Wählen Sie einen vollständigen Ordnerpfad (beginnend mit /).',
 'A scheduled mount needs at least one day.': 'Ein geplantes Verbinden braucht mindestens einen Tag.',
 'Enter six hexadecimal pairs, e.g. 00:11:22:33:44:55.': 'Geben Sie sechs Hexadezimalpaare ein, z. B. 00:11:22:33:44:55.',
 'Choose a script by its full path.': 'Wählen Sie ein Skript mit vollständigem Pfad.',
 # The engine's status texts are not translated: the idle test compares with them as they stand.
 'Ready': 'Ready',
 'MOUNTED · PAUSED': 'VERBUNDEN · PAUSIERT', 'MOUNTED ✓': 'VERBUNDEN ✓', 'PAUSED': 'PAUSIERT',
 'CLEANED UP': 'AUFGERÄUMT', 'READY': 'BEREIT', 'EJECTED': 'AUSGEWORFEN', 'CONNECTING %1': 'VERBINDE %1',
 'CONNECTING...': 'VERBINDE...', 'MOUNTING...': 'EINHÄNGEN...', 'HOST UNREACHABLE': 'HOST NICHT ERREICHBAR',
 'SHARE NOT FOUND': 'FREIGABE NICHT GEFUNDEN', 'ACCESS DENIED': 'ZUGRIFF VERWEIGERT', 'AUTH FAILED': 'ANMELDUNG FEHLGESCHLAGEN',
 'TIMED OUT': 'ZEITÜBERSCHREITUNG', 'CONNECT FAILED': 'VERBINDUNG FEHLGESCHLAGEN', 'HOST UNRESOLVED': 'HOST NICHT AUFGELÖST',
 'ERROR': 'FEHLER', 'RESOLVED': 'AUFGELÖST', 'LOCAL OK': 'LOKAL OK', 'AUTHENTICATING': 'ANMELDUNG',
 'Managed by %1': 'Verwaltet von %1', 'Share': 'Freigabe', 'URL': 'URL', 'State': 'Zustand', 'Group': 'Gruppe',
 'No shares configured': 'Keine Freigaben eingerichtet', 'Open Dashboard': 'Übersicht öffnen',
 'Permission Issue': 'Berechtigungsproblem',
 "Share not found. The share name doesn't exist on this server. Verify the exact share name (case-sensitive).":
   'Freigabe nicht gefunden. Der Freigabename existiert auf diesem Server nicht. Prüfen Sie den genauen Namen (Groß-/Kleinschreibung).',
 'I/O Error / Access Denied. Server rejected connection. Account may not have access, WebDAV not enabled, or 2FA blocking access.':
   'E/A-Fehler / Zugriff verweigert. Der Server hat die Verbindung abgelehnt. Das Konto hat evtl. keinen Zugriff, WebDAV ist nicht aktiviert oder 2FA blockiert.',
 "Permission denied. You don't have access rights to this share. Contact your server administrator.":
   'Zugriff verweigert. Sie haben keine Rechte für diese Freigabe. Wenden Sie sich an die Serververwaltung.',
 'Mount point already exists. Another volume is already mounted at this location.':
   'Einhängepunkt existiert bereits. An dieser Stelle ist bereits ein anderes Volume eingehängt.',
 'No such device. The share path does not exist on this server. For WebDAV, leave Share Name blank to mount the server root.':
   'Kein solches Gerät. Der Freigabepfad existiert auf diesem Server nicht. Bei WebDAV den Freigabenamen leer lassen, um das Stammverzeichnis zu verbinden.',
 'Connection timed out. Server took too long to respond. Check network or try again.':
   'Zeitüberschreitung. Der Server hat zu lange gebraucht. Netzwerk prüfen oder erneut versuchen.',
 "Host is down. The server is not responding. Check if it's powered on and connected to the network.":
   'Host ist nicht verfügbar. Der Server antwortet nicht. Prüfen Sie, ob er eingeschaltet und mit dem Netz verbunden ist.',
 'No route to host. Cannot reach the server. Check hostname/IP, firewall settings, and network connectivity.':
   'Keine Route zum Host. Der Server ist nicht erreichbar. Hostname/IP, Firewall und Netzwerkverbindung prüfen.',
 "Authentication failed. Username or password incorrect. For guest access, enable 'Guest Login'.":
   "Anmeldung fehlgeschlagen. Benutzername oder Passwort falsch. Für Gastzugriff 'Gastzugang' aktivieren.",
 'Identifier removed. The mount point or share was disconnected unexpectedly.':
   'Kennung entfernt. Der Einhängepunkt oder die Freigabe wurde unerwartet getrennt.',
 'macOS sandbox or permission issue. May need to grant Full Disk Access in System Settings > Privacy.':
   'macOS-Sandbox- oder Berechtigungsproblem. Eventuell muss in den Systemeinstellungen > Datenschutz der vollständige Festplattenzugriff gewährt werden.',
}
# Rules and sets tabs.
DE.update({
 'Rules': 'Regeln', 'Sets': 'Sets', ' seconds': ' Sekunden',
 '%1: %2 of %3 shares ejected.': '%1: %2 von %3 Freigaben ausgeworfen.',
 '%1: %2 of %3 shares mounted.': '%1: %2 von %3 Freigaben verbunden.',
 '%1: nothing to eject (%2 not mounted or busy).': '%1: nichts auszuwerfen (%2 nicht verbunden oder beschäftigt).',
 '%1: nothing to mount (%2 already mounted or busy).': '%1: nichts zu verbinden (%2 bereits verbunden oder beschäftigt).',
 '(disabled)': '(deaktiviert)', '(missing share %1)': '(fehlende Freigabe %1)', 'Action type:': 'Aktionstyp:',
 'Actions execute in order when conditions are met': 'Aktionen werden der Reihe nach ausgeführt, wenn die Bedingungen erfüllt sind',
 'Actions': 'Aktionen', 'Add Action': 'Aktion hinzufügen', 'Add Condition': 'Bedingung hinzufügen',
 'Add Example Rules': 'Beispielregeln hinzufügen', 'All conditions must be true': 'Alle Bedingungen müssen erfüllt sein',
 'Any condition can be true': 'Eine beliebige Bedingung genügt', 'Application name:': 'Programmname:',
 'Cancel': 'Abbrechen',
 'Choose a rule from the list to view or edit it,\nor create a new rule to get started.':
   'Wählen Sie eine Regel aus der Liste, um sie anzusehen oder zu bearbeiten,\noder legen Sie eine neue Regel an.',
 'Choose a share…': 'Freigabe wählen…', 'Condition type:': 'Bedingungstyp:',
 'Conditions at last check': 'Bedingungen bei der letzten Prüfung', 'Conditions': 'Bedingungen',
 'Create Your First Rule': 'Erste Regel anlegen', 'Create': 'Anlegen', 'Delete Rule': 'Regel löschen',
 'Delete Set?': 'Set löschen?', 'Delete "%1"?': '„%1“ löschen?', 'Disabled': 'Deaktiviert', 'Edit Rule': 'Regel bearbeiten',
 'Eject Set': 'Set auswerfen', 'Ejecting %1…': '%1 wird ausgeworfen…', 'Enabled': 'Aktiviert', 'End time:': 'Endzeit:',
 'Evaluate the rules and run their actions when their conditions become true':
   'Regeln auswerten und ihre Aktionen ausführen, sobald ihre Bedingungen erfüllt sind',
 'Export Failed': 'Export fehlgeschlagen', 'Export Set': 'Set exportieren', 'Export Set…': 'Set exportieren…',
 'Icon:': 'Symbol:', 'Import Complete': 'Import abgeschlossen', 'Import Failed': 'Import fehlgeschlagen',
 'Import Set': 'Set importieren', 'Import Set…': 'Set importieren…', 'Last Triggered': 'Zuletzt ausgelöst',
 'Last run: ': 'Zuletzt ausgeführt: ', 'Leave empty to match any WiFi network': 'Leer lassen für ein beliebiges WLAN',
 'Met': 'Erfüllt', 'Mount Set': 'Set verbinden', 'Mounting %1…': '%1 wird verbunden…', 'Move Down': 'Nach unten',
 'Move Up': 'Nach oben', 'Never': 'Nie', 'New Rule': 'Neue Regel', 'New Set': 'Neues Set',
 'New Set…': 'Neues Set…', "No actions - rule won't do anything": 'Keine Aktionen – die Regel bewirkt nichts',
 'No actions defined': 'Keine Aktionen festgelegt', 'No activity yet': 'Noch keine Aktivität',
 'No additional configuration needed': 'Keine weitere Einstellung nötig',
 'No conditions - rule will never trigger': 'Keine Bedingungen – die Regel wird nie ausgelöst',
 'No conditions defined': 'Keine Bedingungen festgelegt', 'Not evaluated yet': 'Noch nicht ausgewertet',
 'Not met': 'Nicht erfüllt', 'Notification message': 'Text der Mitteilung', 'Recent Activity': 'Letzte Aktivität',
 'Remove': 'Entfernen', 'Rename Set': 'Set umbenennen', 'Rename…': 'Umbenennen…', 'Rule Engine': 'Regel-Engine',
 'Rule Not Saved': 'Regel nicht gespeichert', 'Rule name:': 'Name der Regel:',
 'Rules automate volume mounting\nbased on conditions you define.':
   'Regeln verbinden Volumes automatisch\nanhand von Bedingungen, die Sie festlegen.',
 'Run Now': 'Jetzt ausführen', 'Running': 'Läuft',
 'Save this set for sharing (passwords not included)': 'Dieses Set zum Weitergeben sichern (ohne Passwörter)',
 'Save': 'Sichern', 'Select a set file (.twconfig)': 'Set-Datei wählen (.twconfig)',
 'Set exported to %1.': 'Set nach %1 exportiert.', 'Set name:': 'Name des Sets:',
 'Shares in this set': 'Freigaben in diesem Set', 'Start time:': 'Startzeit:', 'Statistics': 'Statistik',
 'Stopped — rules do not act until the engine is switched on':
   'Angehalten – Regeln wirken erst, wenn die Engine eingeschaltet ist',
 'The rule was deleted meanwhile.': 'Die Regel wurde inzwischen gelöscht.',
 'The rules file could not be written: %1': 'Die Regeldatei konnte nicht geschrieben werden: %1',
 'The set could not be saved.': 'Das Set konnte nicht gesichert werden.',
 'This action cannot be undone.': 'Dieser Vorgang kann nicht rückgängig gemacht werden.',
 'This will affect all configured volumes': 'Betrifft alle eingerichteten Volumes',
 'Times Triggered': 'Anzahl Auslösungen', 'Use 24-hour format (HH:MM)': '24-Stunden-Format verwenden (HH:MM)',
 'Volumes must have matching group tag': 'Volumes brauchen die passende Gruppe', 'WiFi Name (SSID):': 'WLAN-Name (SSID):',
 '"%1" will be removed. Its shares stay configured.': '„%1“ wird entfernt. Seine Freigaben bleiben eingerichtet.',
 'e.g., Final Cut Pro': 'z. B. Final Cut Pro', 'e.g., HomeNetwork': 'z. B. HeimNetz', 'e.g., Office Network': 'z. B. Büronetz',
 'last check %1': 'letzte Prüfung %1',
 'Select a volume...': 'Volume wählen…', 'Tarnwell set file (*.twconfig)': 'Tarnwell-Set-Datei (*.twconfig)',
 'A share set mounts and ejects several shares as one.\nCreate a set, then add its shares.':
   'Ein Set verbindet und wirft mehrere Freigaben gemeinsam aus.\nLegen Sie ein Set an und fügen Sie dann seine Freigaben hinzu.',
})
# The import and export, discovery, directory and audit tabs and the profile generator.
DE.update({
 'Import && Export': 'Import && Export', 'Discovery': 'Netzwerksuche', 'Directory': 'Verzeichnisdienst', 'Audit': 'Audit',
 '%1 (hidden)': '%1 (versteckt)', '%1 of %2 entries': '%1 von %2 Einträgen', '(no group)': '(keine Gruppe)',
 'Add Share': 'Freigabe hinzufügen', 'Add a mapping': 'Zuordnung hinzufügen', 'Add a share': 'Freigabe hinzufügen',
 "Added share '%1'. Edit it in the Shares tab.": "Freigabe '%1' hinzugefügt. Bearbeiten Sie sie im Tab „Freigaben“.",
 'All Events': 'Alle Ereignisse', 'All Time': 'Gesamter Zeitraum',
 'Allow export (CSV, config, sets)': 'Export erlauben (CSV, Konfiguration, Sets)',
 'Allow import (CSV, config, sets)': 'Import erlauben (CSV, Konfiguration, Sets)',
 'Allow users to add their own shares': 'Benutzer dürfen eigene Freigaben hinzufügen',
 'Apply Mappings': 'Zuordnungen anwenden', 'Browse Shares': 'Freigaben anzeigen', 'Checking…': 'Prüfe…',
 'Comma-separated values (*.csv)': 'Kommagetrennte Werte (*.csv)', 'Configuration File': 'Konfigurationsdatei',
 'Configuration profiles (*.mobileconfig)': 'Konfigurationsprofile (*.mobileconfig)',
 'Copied to clipboard': 'In die Zwischenablage kopiert', 'Copy': 'Kopieren',
 'Create a .mobileconfig profile for JAMF, Mosyle, Kandji, etc.':
   'Erstellt ein .mobileconfig-Profil für JAMF, Mosyle, Kandji usw.',
 'Create a configuration profile that pushes shares and policies to managed machines.':
   'Erstellt ein Konfigurationsprofil, das Freigaben und Richtlinien auf verwaltete Rechner verteilt.',
 'Current User': 'Aktueller Benutzer', 'Date Range:': 'Zeitraum:',
 'Deploy this file with your device-management service': 'Verteilen Sie diese Datei mit Ihrer Geräteverwaltung',
 'Deployment': 'Verteilung', 'Details': 'Details', 'Directory Binding': 'Verzeichnisanbindung',
 'Directory group, exactly as named (case-sensitive)': 'Verzeichnisgruppe, genau wie benannt (Groß-/Kleinschreibung)',
 'Domain: %1': 'Domäne: %1', 'E-mail: %1': 'E-Mail: %1', 'Earlier Version': 'Frühere Version', 'Enabled': 'Aktiv',
 'Enforced Wi-Fi networks:': 'Vorgeschriebene WLAN-Netze:', 'Event': 'Ereignis', 'Event:': 'Ereignis:',
 'Export Audit Log': 'Audit-Protokoll exportieren', 'Export Configuration': 'Konfiguration exportieren',
 'Export Configuration…': 'Konfiguration exportieren…', 'Export Failed': 'Export fehlgeschlagen',
 'Export Shares as CSV…': 'Freigaben als CSV exportieren…', 'Exported configuration to %1': 'Konfiguration nach %1 exportiert',
 'Exported shares to %1': 'Freigaben nach %1 exportiert', 'Export…': 'Exportieren…', 'Failed': 'Fehlgeschlagen',
 'Failed (%1)': 'Fehlgeschlagen (%1)', 'Format:': 'Format:', 'From': 'Von', 'Generate Profile': 'Profil erzeugen',
 'Generated Profile': 'Erzeugtes Profil', 'Group Mappings': 'Gruppenzuordnungen', 'Group:': 'Gruppe:',
 'Groups: %1': 'Gruppen: %1', 'Help Desk Email:': 'Helpdesk-E-Mail:',
 'Hidden share: its name ends in $': 'Versteckte Freigabe: Ihr Name endet auf $', 'Home: %1': 'Home: %1',
 'Host': 'Host', 'Hostname': 'Hostname', 'Import Configuration…': 'Konfiguration importieren…',
 'Import Failed': 'Import fehlgeschlagen', 'Import Shares from CSV': 'Freigaben aus CSV importieren',
 'Import Shares from CSV…': 'Freigaben aus CSV importieren…', 'Import from the macOS Build': 'Aus der macOS-Version importieren',
 'Import from the macOS Build…': 'Aus der macOS-Version importieren…', 'JSON (*.json)': 'JSON (*.json)',
 'Last 30 Days': 'Letzte 30 Tage', 'Last 7 Days': 'Letzte 7 Tage', 'Last 90 Days': 'Letzte 90 Tage',
 'Last checked: %1': 'Zuletzt geprüft: %1', 'Listing shares…': 'Freigaben werden abgefragt…', 'Locked': 'Gesperrt',
 'MDM Profile Generator': 'MDM-Profilgenerator', 'MDM Profile Generator…': 'MDM-Profilgenerator…',
 'Managed Shares': 'Verwaltete Freigaben', 'Mount Point': 'Einhängepunkt', 'Name: %1 (%2)': 'Name: %1 (%2)',
 'Nickname': 'Name', 'No audit log entries': 'Keine Audit-Einträge',
 'Not Connected to Active Directory': 'Nicht mit Active Directory verbunden', 'Not checked yet': 'Noch nicht geprüft',
 'One share per line, for spreadsheets. Passwords are never exported; an import may carry them in a "password" column.':
   'Eine Freigabe pro Zeile, für Tabellenkalkulationen. Passwörter werden nie exportiert; ein Import kann sie in einer Spalte „password“ enthalten.',
 'Organization': 'Organisation', 'Organization Name:': 'Name der Organisation:', 'Password:': 'Passwort:',
 'Policies': 'Richtlinien', 'Property lists (*.plist)': 'Property-Listen (*.plist)', 'Protocol': 'Protokoll',
 'Refresh': 'Aktualisieren', 'Remove the selected mapping': 'Ausgewählte Zuordnung entfernen',
 'Remove the selected share': 'Ausgewählte Freigabe entfernen', 'Result': 'Ergebnis', 'Retry': 'Erneut versuchen',
 'Save Configuration Profile': 'Konfigurationsprofil sichern',
 'Save the Tarnwell configuration (passwords not included)': 'Tarnwell-Konfiguration sichern (ohne Passwörter)',
 'Save the audit log': 'Audit-Protokoll sichern', 'Saved to %1': 'Gesichert unter %1', 'Save…': 'Sichern…',
 'Scan Network': 'Netzwerk durchsuchen', 'Select a CSV file with hostname and shareName columns':
   'Wählen Sie eine CSV-Datei mit den Spalten hostname und shareName',
 'Select the preferences file the macOS build left behind': 'Wählen Sie die Einstellungsdatei der macOS-Version',
 'Servers': 'Server', 'Share': 'Freigabe', 'Share CSV': 'Freigaben-CSV',
 'Shares can be listed for SMB servers only.': 'Freigaben lassen sich nur für SMB-Server auflisten.',
 'Stop Scan': 'Suche beenden', 'Success': 'Erfolg',
 'Takes the shares, event log, share sets, directory mappings and settings from the preferences file of the macOS build (the file is only read).':
   'Übernimmt Freigaben, Ereignisprotokoll, Freigabe-Sets, Verzeichniszuordnungen und Einstellungen aus der Einstellungsdatei der macOS-Version (die Datei wird nur gelesen).',
 'The audit log could not be encoded.': 'Das Audit-Protokoll konnte nicht kodiert werden.',
 'The share could not be added.': 'Die Freigabe konnte nicht hinzugefügt werden.',
 'The whole setup (shares without passwords, share sets, rules and settings) as one .twconfig file, to move it to another machine.':
   'Die gesamte Einrichtung (Freigaben ohne Passwörter, Freigabe-Sets, Regeln und Einstellungen) als eine .twconfig-Datei, um sie auf einen anderen Rechner zu übertragen.',
 'This Mac is not bound to an Active Directory domain.\nContact your IT administrator to join this Mac to AD.':
   'Dieser Rechner ist an keine Active-Directory-Domäne angebunden.\nWenden Sie sich an Ihre IT-Abteilung, um ihn in AD aufzunehmen.',
 'This build has no directory service.': 'Diese Version hat keinen Verzeichnisdienst.', 'Time': 'Zeit', 'To': 'Bis',
 'User': 'Benutzer', 'Username:': 'Benutzername:',
 'Your IT administrator has disabled export.': 'Ihre IT-Abteilung hat den Export deaktiviert.',
 'Your IT administrator has disabled import.': 'Ihre IT-Abteilung hat den Import deaktiviert.',
 'guest': 'Gast', 'none': 'keine',
})
# Certificate trust.
DE.update({
 'UNTRUSTED CERTIFICATE': 'NICHT VERTRAUTES ZERTIFIKAT',
 "The server's certificate is not one this share trusts. Edit the share and choose Trust Certificate… to compare its fingerprint with the server's and trust it (or run: tarnwellctl trust SHARE).":
   'Dem Zertifikat des Servers vertraut diese Freigabe nicht. Bearbeiten Sie die Freigabe und wählen Sie „Zertifikat vertrauen…“, um seinen Fingerabdruck mit dem des Servers zu vergleichen und ihm zu vertrauen (oder führen Sie aus: tarnwellctl trust FREIGABE).',
 'Certificate:': 'Zertifikat:', 'Trust Certificate…': 'Zertifikat vertrauen…', 'Trust Certificate': 'Zertifikat vertrauen',
 'Forget': 'Vergessen', 'Reading…': 'Wird gelesen…', 'Trust': 'Vertrauen', 'Trusted: %1…': 'Vertraut: %1…',
 'Reads the certificate the server presents and asks whether this share trusts it (for a self-signed certificate, or one the system does not know).':
   'Liest das Zertifikat, das der Server vorlegt, und fragt, ob diese Freigabe ihm vertraut (für ein selbst signiertes Zertifikat oder eines, das das System nicht kennt).',
 'Trust no server certificate of its own for this share any more.':
   'Dieser Freigabe kein eigenes Serverzertifikat mehr vertrauen.',
 'Only those the system trusts': 'Nur solche, denen das System vertraut',
 'Only certificates from authorities the system trusts are accepted.':
   'Nur Zertifikate von Stellen, denen das System vertraut, werden angenommen.',
 'Trusted certificate, SHA-256:\n%1': 'Vertrautes Zertifikat, SHA-256:\n%1',
 'The certificate of %1 could not be read: %2': 'Das Zertifikat von %1 konnte nicht gelesen werden: %2',
 'This share already trusts the certificate %1 presents.':
   'Diese Freigabe vertraut dem Zertifikat, das %1 vorlegt, bereits.',
 "%1 presents this certificate:\n\nSHA-256:\n%2\n\nSubject: %3\n\nCompare the fingerprint with the one the server's administrator gives you. Trust this certificate for this share?":
   '%1 legt dieses Zertifikat vor:\n\nSHA-256:\n%2\n\nInhaber: %3\n\nVergleichen Sie den Fingerabdruck mit dem, den Ihnen die Verwaltung des Servers nennt. Diesem Zertifikat für diese Freigabe vertrauen?',
})
PLURAL = {'%n share(s) configured.': ['%n Freigabe eingerichtet.', '%n Freigaben eingerichtet.']}

PLURAL['%n share(s)'] = ['%n Freigabe', '%n Freigaben']

path = sys.argv[1]
tree = ET.parse(path)
tree.getroot().set('language', 'de_DE')
missing = []
for m in tree.iter('message'):
    src = m.find('source').text
    tr = m.find('translation')
    if src in PLURAL:
        for child in list(tr):
            tr.remove(child)
        tr.text = None
        for form in PLURAL[src]:
            ET.SubElement(tr, 'numerusform').text = form
    elif src in DE:
        tr.text = DE[src]
    else:
        missing.append(src)
        continue
    tr.attrib.pop('type', None)
tree.write(path, encoding='utf-8', xml_declaration=True)
if missing:
    sys.exit('untranslated: ' + repr(missing))
