<?xml version='1.0' encoding='utf-8'?>
<TS version="2.1" language="de_DE">
<context>
    <name>AddActionDialog</name>
    <message>
        <location filename="../AddActionDialog.cpp" line="50" />
        <source>Add Action</source>
        <translation>Aktion hinzufügen</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="57" />
        <source>Action type:</source>
        <translation>Aktionstyp:</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="65" />
        <source>This will affect all configured volumes</source>
        <translation>Betrifft alle eingerichteten Volumes</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="68" />
        <source>e.g., Work, Media</source>
        <translation>z. B. Arbeit, Medien</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="70" />
        <source>Volumes must have matching group tag</source>
        <translation>Volumes brauchen die passende Gruppe</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="78" />
        <source>Choose…</source>
        <translation>Auswählen…</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="84" />
        <source>Notification message</source>
        <translation>Text der Mitteilung</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="90" />
        <source> seconds</source>
        <translation> Sekunden</translation>
    </message>
    <message>
        <location filename="../AddActionDialog.cpp" line="161" />
        <source>Choose Script</source>
        <translation>Skript wählen</translation>
    </message>
</context>
<context>
    <name>AddConditionDialog</name>
    <message>
        <location filename="../AddConditionDialog.cpp" line="65" />
        <source>Add Condition</source>
        <translation>Bedingung hinzufügen</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="72" />
        <source>Condition type:</source>
        <translation>Bedingungstyp:</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="81" />
        <source>WiFi Name (SSID):</source>
        <translation>WLAN-Name (SSID):</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="79" />
        <source>e.g., HomeNetwork</source>
        <translation>z. B. HeimNetz</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="81" />
        <source>Leave empty to match any WiFi network</source>
        <translation>Leer lassen für ein beliebiges WLAN</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="91" />
        <source>Start time:</source>
        <translation>Startzeit:</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="92" />
        <source>End time:</source>
        <translation>Endzeit:</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="94" />
        <source>Use 24-hour format (HH:MM)</source>
        <translation>24-Stunden-Format verwenden (HH:MM)</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="114" />
        <source>Application name:</source>
        <translation>Programmname:</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="113" />
        <source>e.g., Final Cut Pro</source>
        <translation>z. B. Final Cut Pro</translation>
    </message>
    <message>
        <location filename="../AddConditionDialog.cpp" line="117" />
        <source>No additional configuration needed</source>
        <translation>Keine weitere Einstellung nötig</translation>
    </message>
</context>
<context>
    <name>AuditTableModel</name>
    <message>
        <location filename="../AuditView.cpp" line="101" />
        <source>Success</source>
        <translation>Erfolg</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="102" />
        <source>Failed (%1)</source>
        <translation>Fehlgeschlagen (%1)</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="102" />
        <source>Failed</source>
        <translation>Fehlgeschlagen</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="122" />
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="124" />
        <source>Event</source>
        <translation>Ereignis</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="126" />
        <source>Share</source>
        <translation>Freigabe</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="128" />
        <source>Host</source>
        <translation>Host</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="130" />
        <source>User</source>
        <translation>Benutzer</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="132" />
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="134" />
        <source>Details</source>
        <translation>Details</translation>
    </message>
</context>
<context>
    <name>AuditView</name>
    <message>
        <location filename="../AuditView.cpp" line="147" />
        <source>From</source>
        <translation>Von</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="148" />
        <source>To</source>
        <translation>Bis</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="152" />
        <source>No audit log entries</source>
        <translation>Keine Audit-Einträge</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="160" />
        <source>All Events</source>
        <translation>Alle Ereignisse</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="163" />
        <source>Event:</source>
        <translation>Ereignis:</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="185" />
        <location filename="../AuditView.cpp" line="295" />
        <source>Export…</source>
        <translation>Exportieren…</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="248" />
        <source>%1 of %2 entries</source>
        <translation>%1 von %2 Einträgen</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="277" />
        <location filename="../AuditView.cpp" line="279" />
        <location filename="../AuditView.cpp" line="325" />
        <source>Export Audit Log</source>
        <translation>Audit-Protokoll exportieren</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="288" />
        <source>All Time</source>
        <translation>Gesamter Zeitraum</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="289" />
        <source>Last 7 Days</source>
        <translation>Letzte 7 Tage</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="290" />
        <source>Last 30 Days</source>
        <translation>Letzte 30 Tage</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="291" />
        <source>Last 90 Days</source>
        <translation>Letzte 90 Tage</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="292" />
        <source>Format:</source>
        <translation>Format:</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="293" />
        <source>Date Range:</source>
        <translation>Zeitraum:</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="316" />
        <source>The audit log could not be encoded.</source>
        <translation>Das Audit-Protokoll konnte nicht kodiert werden.</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="326" />
        <source>Save the audit log</source>
        <translation>Audit-Protokoll sichern</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="327" />
        <source>JSON (*.json)</source>
        <translation>JSON (*.json)</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="327" />
        <source>Comma-separated values (*.csv)</source>
        <translation>Kommagetrennte Werte (*.csv)</translation>
    </message>
    <message>
        <location filename="../AuditView.cpp" line="336" />
        <source>Export Failed</source>
        <translation>Export fehlgeschlagen</translation>
    </message>
</context>
<context>
    <name>DashboardWindow</name>
    <message>
        <location filename="../DashboardWindow.cpp" line="44" />
        <source>Tarnwell</source>
        <translation>Tarnwell</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="57" />
        <source>Mount</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="58" />
        <source>Eject</source>
        <translation>Auswerfen</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="59" />
        <source>Clean Up</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="60" />
        <source>Verify</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="62" />
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="63" />
        <location filename="../DashboardWindow.cpp" line="192" />
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="64" />
        <source>Duplicate</source>
        <translation>Duplizieren</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="65" />
        <location filename="../DashboardWindow.cpp" line="354" />
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="67" />
        <location filename="../DashboardWindow.cpp" line="196" />
        <source>Pause Auto-Mount</source>
        <translation>Auto-Mount pausieren</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="101" />
        <source>Shares</source>
        <translation>Freigaben</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="102" />
        <source>Logs</source>
        <translation>Protokolle</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="104" />
        <source>Rules</source>
        <translation>Regeln</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="106" />
        <source>Sets</source>
        <translation>Sets</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="108" />
        <source>Import &amp;&amp; Export</source>
        <translation>Import &amp;&amp; Export</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="109" />
        <source>Discovery</source>
        <translation>Netzwerksuche</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="110" />
        <source>Directory</source>
        <translation>Verzeichnisdienst</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="111" />
        <source>Audit</source>
        <translation>Audit</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="129" />
        <source>%1 is mounted.</source>
        <translation>%1 ist verbunden.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="130" />
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="133" />
        <source>%1 was ejected.</source>
        <translation>%1 wurde ausgeworfen.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="133" />
        <source>%1 could not be ejected.</source>
        <translation>%1 konnte nicht ausgeworfen werden.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="136" />
        <source>Clean Up finished for %1.</source>
        <translation>Aufräumen für %1 abgeschlossen.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="139" />
        <source>Auto-mount paused.</source>
        <translation>Auto-Mount pausiert.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="139" />
        <source>Auto-mount resumed.</source>
        <translation>Auto-Mount fortgesetzt.</translation>
    </message>
    <message numerus="yes">
        <location filename="../DashboardWindow.cpp" line="145" />
        <source>%n share(s) configured.</source>
        <translation><numerusform>%n Freigabe eingerichtet.</numerusform><numerusform>%n Freigaben eingerichtet.</numerusform></translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="192" />
        <source>View</source>
        <translation>Ansehen</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="196" />
        <source>Resume Auto-Mount</source>
        <translation>Auto-Mount fortsetzen</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="207" />
        <source>Mounted at %1.</source>
        <translation>Verbunden unter %1.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="209" />
        <source>Mounted; auto-mount is paused and will not reconnect it after a drop.</source>
        <translation>Verbunden; Auto-Mount ist pausiert und verbindet nach einem Abbruch nicht neu.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="211" />
        <source>Auto-mount is paused: this share is not mounted automatically until you resume.</source>
        <translation>Auto-Mount ist pausiert: Diese Freigabe wird erst nach dem Fortsetzen wieder automatisch verbunden.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="213" />
        <source>Empty folders left by lost connections were removed.</source>
        <translation>Leere Ordner verlorener Verbindungen wurden entfernt.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="215" />
        <source>Not mounted. Select Mount to connect.</source>
        <translation>Nicht verbunden. Wählen Sie „Verbinden“.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="217" />
        <source>Ejected. Auto-mount shares are mounted again at the next check.</source>
        <translation>Ausgeworfen. Auto-Mount-Freigaben werden bei der nächsten Prüfung wieder verbunden.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="220" />
        <source>Connecting to %1…</source>
        <translation>Verbinde mit %1…</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="222" />
        <source>The server does not answer. Check that it is on and reachable from this network.</source>
        <translation>Der Server antwortet nicht. Prüfen Sie, ob er eingeschaltet und aus diesem Netz erreichbar ist.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="224" />
        <source>The server has no share of that name. Check the share name (it is case-sensitive).</source>
        <translation>Der Server hat keine Freigabe dieses Namens. Prüfen Sie den Freigabenamen (Groß-/Kleinschreibung).</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="226" />
        <source>The server refused access. Check the account's rights on this share.</source>
        <translation>Der Server verweigert den Zugriff. Prüfen Sie die Rechte des Kontos auf dieser Freigabe.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="228" />
        <source>User name or password incorrect. Edit the share to correct them.</source>
        <translation>Benutzername oder Passwort falsch. Bearbeiten Sie die Freigabe, um sie zu korrigieren.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="230" />
        <source>The server took too long to answer. Try again, or raise the mount timeout in Preferences.</source>
        <translation>Der Server hat zu lange gebraucht. Versuchen Sie es erneut oder erhöhen Sie das Verbindungs-Zeitlimit in den Einstellungen.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="232" />
        <source>No connection to the server could be made.</source>
        <translation>Es konnte keine Verbindung zum Server hergestellt werden.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="234" />
        <source>The server's name could not be resolved. Check the name, or use its address.</source>
        <translation>Der Servername konnte nicht aufgelöst werden. Prüfen Sie den Namen oder verwenden Sie die Adresse.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="236" />
        <source>The server's certificate is not one this share trusts. Edit the share and choose Trust Certificate… to compare its fingerprint with the server's and trust it (or run: tarnwellctl trust SHARE).</source>
        <translation>Dem Zertifikat des Servers vertraut diese Freigabe nicht. Bearbeiten Sie die Freigabe und wählen Sie „Zertifikat vertrauen…“, um seinen Fingerabdruck mit dem des Servers zu vergleichen und ihm zu vertrauen (oder führen Sie aus: tarnwellctl trust FREIGABE).</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="240" />
        <source>The last attempt failed; see the Logs tab for details.</source>
        <translation>Der letzte Versuch ist fehlgeschlagen; Details im Tab „Protokolle“.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="309" />
        <source>Share added.</source>
        <translation>Freigabe hinzugefügt.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="335" />
        <source>Share duplicated.</source>
        <translation>Freigabe dupliziert.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="351" />
        <source>Delete Share?</source>
        <translation>Freigabe löschen?</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="352" />
        <source>"%1" will be removed from Tarnwell. This action cannot be undone.</source>
        <translation>„%1“ wird aus Tarnwell entfernt. Dies kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="361" />
        <source>Share deleted.</source>
        <translation>Freigabe gelöscht.</translation>
    </message>
    <message>
        <location filename="../DashboardWindow.cpp" line="374" />
        <source>Auto-mount can be paused only while at least one share is mounted</source>
        <translation>Auto-Mount kann nur pausiert werden, solange mindestens eine Freigabe verbunden ist</translation>
    </message>
</context>
<context>
    <name>DesktopShell</name>
    <message>
        <location filename="../DesktopShell.cpp" line="51" />
        <source>&amp;Tarnwell</source>
        <translation>&amp;Tarnwell</translation>
    </message>
    <message>
        <location filename="../DesktopShell.cpp" line="52" />
        <source>Preferences…</source>
        <translation>Einstellungen…</translation>
    </message>
    <message>
        <location filename="../DesktopShell.cpp" line="53" />
        <source>Log Manager…</source>
        <translation>Protokollverwaltung…</translation>
    </message>
    <message>
        <location filename="../DesktopShell.cpp" line="55" />
        <source>Quit Tarnwell</source>
        <translation>Tarnwell beenden</translation>
    </message>
</context>
<context>
    <name>DirectoryView</name>
    <message>
        <location filename="../DirectoryView.cpp" line="43" />
        <source>This build has no directory service.</source>
        <translation>Diese Version hat keinen Verzeichnisdienst.</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="50" />
        <source>Directory Binding</source>
        <translation>Verzeichnisanbindung</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="63" />
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="65" />
        <source>Apply Mappings</source>
        <translation>Zuordnungen anwenden</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="76" />
        <source>Not Connected to Active Directory</source>
        <translation>Nicht mit Active Directory verbunden</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="78" />
        <source>This Mac is not bound to an Active Directory domain.
Contact your IT administrator to join this Mac to AD.</source>
        <translation>Dieser Rechner ist an keine Active-Directory-Domäne angebunden.
Wenden Sie sich an Ihre IT-Abteilung, um ihn in AD aufzunehmen.</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="85" />
        <source>Current User</source>
        <translation>Aktueller Benutzer</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="95" />
        <source>Group Mappings</source>
        <translation>Gruppenzuordnungen</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="103" />
        <source>Add a mapping</source>
        <translation>Zuordnung hinzufügen</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="105" />
        <source>Remove the selected mapping</source>
        <translation>Ausgewählte Zuordnung entfernen</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="118" />
        <source>Directory group, exactly as named (case-sensitive)</source>
        <translation>Verzeichnisgruppe, genau wie benannt (Groß-/Kleinschreibung)</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="119" />
        <source>Enabled</source>
        <translation>Aktiv</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="121" />
        <source>Group:</source>
        <translation>Gruppe:</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="126" />
        <source>Host</source>
        <translation>Host</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="126" />
        <source>Share</source>
        <translation>Freigabe</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="126" />
        <source>Protocol</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="126" />
        <source>Mount Point</source>
        <translation>Einhängepunkt</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="133" />
        <source>Add a share</source>
        <translation>Freigabe hinzufügen</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="135" />
        <source>Remove the selected share</source>
        <translation>Ausgewählte Freigabe entfernen</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="202" />
        <source>Checking…</source>
        <translation>Prüfe…</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="222" />
        <source>Not checked yet</source>
        <translation>Noch nicht geprüft</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="228" />
        <source>Domain: %1</source>
        <translation>Domäne: %1</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="231" />
        <source>Last checked: %1</source>
        <translation>Zuletzt geprüft: %1</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="240" />
        <source>Name: %1 (%2)</source>
        <translation>Name: %1 (%2)</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="242" />
        <source>E-mail: %1</source>
        <translation>E-Mail: %1</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="244" />
        <source>Home: %1</source>
        <translation>Home: %1</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="245" />
        <source>Groups: %1</source>
        <translation>Gruppen: %1</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="245" />
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <location filename="../DirectoryView.cpp" line="260" />
        <location filename="../DirectoryView.cpp" line="348" />
        <source>(no group)</source>
        <translation>(keine Gruppe)</translation>
    </message>
    <message numerus="yes">
        <location filename="../DirectoryView.cpp" line="263" />
        <source>%n share(s)</source>
        <translation><numerusform>%n Freigabe</numerusform><numerusform>%n Freigaben</numerusform></translation>
    </message>
</context>
<context>
    <name>DiscoveryView</name>
    <message>
        <location filename="../DiscoveryView.cpp" line="22" />
        <location filename="../DiscoveryView.cpp" line="165" />
        <source>Scan Network</source>
        <translation>Netzwerk durchsuchen</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="28" />
        <source>Browse Shares</source>
        <translation>Freigaben anzeigen</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="32" />
        <source>Retry</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="33" />
        <source>Add Share</source>
        <translation>Freigabe hinzufügen</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="52" />
        <source>Servers</source>
        <translation>Server</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="58" />
        <source>Shares</source>
        <translation>Freigaben</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="62" />
        <source>guest</source>
        <translation>Gast</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="65" />
        <source>Username:</source>
        <translation>Benutzername:</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="66" />
        <source>Password:</source>
        <translation>Passwort:</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="156" />
        <source>Added share '%1'. Edit it in the Shares tab.</source>
        <translation>Freigabe '%1' hinzugefügt. Bearbeiten Sie sie im Tab „Freigaben“.</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="157" />
        <source>The share could not be added.</source>
        <translation>Die Freigabe konnte nicht hinzugefügt werden.</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="165" />
        <source>Stop Scan</source>
        <translation>Suche beenden</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="203" />
        <source>%1 (hidden)</source>
        <translation>%1 (versteckt)</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="207" />
        <source>Hidden share: its name ends in $</source>
        <translation>Versteckte Freigabe: Ihr Name endet auf $</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="216" />
        <source>Listing shares…</source>
        <translation>Freigaben werden abgefragt…</translation>
    </message>
    <message>
        <location filename="../DiscoveryView.cpp" line="229" />
        <source>Shares can be listed for SMB servers only.</source>
        <translation>Freigaben lassen sich nur für SMB-Server auflisten.</translation>
    </message>
</context>
<context>
    <name>ErrorCodeReference</name>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="20" />
        <source>Share not found. The share name doesn't exist on this server. Verify the exact share name (case-sensitive).</source>
        <translation>Freigabe nicht gefunden. Der Freigabename existiert auf diesem Server nicht. Prüfen Sie den genauen Namen (Groß-/Kleinschreibung).</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="22" />
        <source>I/O Error / Access Denied. Server rejected connection. Account may not have access, WebDAV not enabled, or 2FA blocking access.</source>
        <translation>E/A-Fehler / Zugriff verweigert. Der Server hat die Verbindung abgelehnt. Das Konto hat evtl. keinen Zugriff, WebDAV ist nicht aktiviert oder 2FA blockiert.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="25" />
        <source>Permission denied. You don't have access rights to this share. Contact your server administrator.</source>
        <translation>Zugriff verweigert. Sie haben keine Rechte für diese Freigabe. Wenden Sie sich an die Serververwaltung.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="27" />
        <source>Mount point already exists. Another volume is already mounted at this location.</source>
        <translation>Einhängepunkt existiert bereits. An dieser Stelle ist bereits ein anderes Volume eingehängt.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="29" />
        <source>No such device. The share path does not exist on this server. For WebDAV, leave Share Name blank to mount the server root.</source>
        <translation>Kein solches Gerät. Der Freigabepfad existiert auf diesem Server nicht. Bei WebDAV den Freigabenamen leer lassen, um das Stammverzeichnis zu verbinden.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="32" />
        <source>Connection timed out. Server took too long to respond. Check network or try again.</source>
        <translation>Zeitüberschreitung. Der Server hat zu lange gebraucht. Netzwerk prüfen oder erneut versuchen.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="34" />
        <source>Host is down. The server is not responding. Check if it's powered on and connected to the network.</source>
        <translation>Host ist nicht verfügbar. Der Server antwortet nicht. Prüfen Sie, ob er eingeschaltet und mit dem Netz verbunden ist.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="36" />
        <source>No route to host. Cannot reach the server. Check hostname/IP, firewall settings, and network connectivity.</source>
        <translation>Keine Route zum Host. Der Server ist nicht erreichbar. Hostname/IP, Firewall und Netzwerkverbindung prüfen.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="38" />
        <source>Authentication failed. Username or password incorrect. For guest access, enable 'Guest Login'.</source>
        <translation>Anmeldung fehlgeschlagen. Benutzername oder Passwort falsch. Für Gastzugriff 'Gastzugang' aktivieren.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="39" />
        <source>Identifier removed. The mount point or share was disconnected unexpectedly.</source>
        <translation>Kennung entfernt. Der Einhängepunkt oder die Freigabe wurde unerwartet getrennt.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="40" />
        <source>Permission Issue</source>
        <translation>Berechtigungsproblem</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="41" />
        <source>macOS sandbox or permission issue. May need to grant Full Disk Access in System Settings &gt; Privacy.</source>
        <translation>macOS-Sandbox- oder Berechtigungsproblem. Eventuell muss in den Systemeinstellungen &gt; Datenschutz der vollständige Festplattenzugriff gewährt werden.</translation>
    </message>
</context>
<context>
    <name>ErrorCodeReferenceDialog</name>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="51" />
        <source>Error Codes Reference</source>
        <translation>Fehlercode-Referenz</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="53" />
        <source>These are the error codes in a mount failure's status and log line. This system's mount service (GVfs) reports its failures in this numbering, which follows the BSD system error codes.</source>
        <translation>Dies sind die Fehlercodes im Status und in der Protokollzeile eines fehlgeschlagenen Verbindens. Der Verbindungsdienst dieses Systems (GVfs) meldet seine Fehler in dieser Nummerierung, die den BSD-Systemfehlercodes folgt.</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="63" />
        <source>Code</source>
        <translation>Code</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="63" />
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="63" />
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <location filename="../ErrorCodeReference.cpp" line="82" />
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
</context>
<context>
    <name>ExchangeView</name>
    <message>
        <location filename="../ExchangeView.cpp" line="69" />
        <location filename="../ExchangeView.cpp" line="136" />
        <source>Your IT administrator has disabled export.</source>
        <translation>Ihre IT-Abteilung hat den Export deaktiviert.</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="74" />
        <location filename="../ExchangeView.cpp" line="135" />
        <source>Your IT administrator has disabled import.</source>
        <translation>Ihre IT-Abteilung hat den Import deaktiviert.</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="80" />
        <source>Configuration File</source>
        <translation>Konfigurationsdatei</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="81" />
        <source>The whole setup (shares without passwords, share sets, rules and settings) as one .twconfig file, to move it to another machine.</source>
        <translation>Die gesamte Einrichtung (Freigaben ohne Passwörter, Freigabe-Sets, Regeln und Einstellungen) als eine .twconfig-Datei, um sie auf einen anderen Rechner zu übertragen.</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="83" />
        <source>Export Configuration…</source>
        <translation>Konfiguration exportieren…</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="85" />
        <source>Import Configuration…</source>
        <translation>Konfiguration importieren…</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="90" />
        <source>Share CSV</source>
        <translation>Freigaben-CSV</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="91" />
        <source>One share per line, for spreadsheets. Passwords are never exported; an import may carry them in a "password" column.</source>
        <translation>Eine Freigabe pro Zeile, für Tabellenkalkulationen. Passwörter werden nie exportiert; ein Import kann sie in einer Spalte „password“ enthalten.</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="93" />
        <source>Export Shares as CSV…</source>
        <translation>Freigaben als CSV exportieren…</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="94" />
        <source>Import Shares from CSV…</source>
        <translation>Freigaben aus CSV importieren…</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="100" />
        <source>Earlier Version</source>
        <translation>Frühere Version</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="100" />
        <source>Takes the shares, event log, share sets, directory mappings and settings from the preferences file of the macOS build (the file is only read).</source>
        <translation>Übernimmt Freigaben, Ereignisprotokoll, Freigabe-Sets, Verzeichniszuordnungen und Einstellungen aus der Einstellungsdatei der macOS-Version (die Datei wird nur gelesen).</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="102" />
        <source>Import from the macOS Build…</source>
        <translation>Aus der macOS-Version importieren…</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="108" />
        <source>Deployment</source>
        <translation>Verteilung</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="108" />
        <source>Create a configuration profile that pushes shares and policies to managed machines.</source>
        <translation>Erstellt ein Konfigurationsprofil, das Freigaben und Richtlinien auf verwaltete Rechner verteilt.</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="110" />
        <source>MDM Profile Generator…</source>
        <translation>MDM-Profilgenerator…</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="184" />
        <location filename="../ExchangeView.cpp" line="203" />
        <location filename="../ExchangeView.cpp" line="208" />
        <location filename="../ExchangeView.cpp" line="281" />
        <location filename="../ExchangeView.cpp" line="298" />
        <location filename="../ExchangeView.cpp" line="303" />
        <source>Export Failed</source>
        <translation>Export fehlgeschlagen</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="188" />
        <source>Export Configuration</source>
        <translation>Konfiguration exportieren</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="189" />
        <source>Save the Tarnwell configuration (passwords not included)</source>
        <translation>Tarnwell-Konfiguration sichern (ohne Passwörter)</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="212" />
        <source>Exported configuration to %1</source>
        <translation>Konfiguration nach %1 exportiert</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="221" />
        <location filename="../ExchangeView.cpp" line="234" />
        <location filename="../ExchangeView.cpp" line="245" />
        <location filename="../ExchangeView.cpp" line="266" />
        <location filename="../ExchangeView.cpp" line="314" />
        <location filename="../ExchangeView.cpp" line="327" />
        <location filename="../ExchangeView.cpp" line="335" />
        <location filename="../ExchangeView.cpp" line="356" />
        <location filename="../ExchangeView.cpp" line="371" />
        <source>Import Failed</source>
        <translation>Import fehlgeschlagen</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="305" />
        <source>Exported shares to %1</source>
        <translation>Freigaben nach %1 exportiert</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="318" />
        <source>Import Shares from CSV</source>
        <translation>Freigaben aus CSV importieren</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="319" />
        <source>Select a CSV file with hostname and shareName columns</source>
        <translation>Wählen Sie eine CSV-Datei mit den Spalten hostname und shareName</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="360" />
        <source>Import from the macOS Build</source>
        <translation>Aus der macOS-Version importieren</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="361" />
        <source>Select the preferences file the macOS build left behind</source>
        <translation>Wählen Sie die Einstellungsdatei der macOS-Version</translation>
    </message>
    <message>
        <location filename="../ExchangeView.cpp" line="362" />
        <source>Property lists (*.plist)</source>
        <translation>Property-Listen (*.plist)</translation>
    </message>
</context>
<context>
    <name>Languages</name>
    <message>
        <location filename="../Languages.cpp" line="14" />
        <source>System Default</source>
        <translation>Systemstandard</translation>
    </message>
</context>
<context>
    <name>LogEventTableModel</name>
    <message>
        <location filename="../LogEventTableModel.cpp" line="80" />
        <source>Date</source>
        <translation>Datum</translation>
    </message>
    <message>
        <location filename="../LogEventTableModel.cpp" line="82" />
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <location filename="../LogEventTableModel.cpp" line="84" />
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <location filename="../LogEventTableModel.cpp" line="86" />
        <source>Status Text</source>
        <translation>Statustext</translation>
    </message>
    <message>
        <location filename="../LogEventTableModel.cpp" line="88" />
        <source>Message</source>
        <translation>Meldung</translation>
    </message>
    <message>
        <location filename="../LogEventTableModel.cpp" line="90" />
        <source>Server</source>
        <translation>Server</translation>
    </message>
</context>
<context>
    <name>LogManagerWidget</name>
    <message>
        <location filename="../LogManagerWidget.cpp" line="66" />
        <location filename="../LogManagerWidget.cpp" line="69" />
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <location filename="../LogManagerWidget.cpp" line="78" />
        <source>Clear Log</source>
        <translation>Protokoll leeren</translation>
    </message>
    <message>
        <location filename="../LogManagerWidget.cpp" line="81" />
        <source>Error Codes</source>
        <translation>Fehlercodes</translation>
    </message>
    <message>
        <location filename="../LogManagerWidget.cpp" line="83" />
        <source>View a reference of common error codes and their meanings</source>
        <translation>Eine Übersicht häufiger Fehlercodes und ihrer Bedeutung anzeigen</translation>
    </message>
    <message>
        <location filename="../LogManagerWidget.cpp" line="107" />
        <source>Clear All Logs?</source>
        <translation>Alle Protokolle löschen?</translation>
    </message>
    <message>
        <location filename="../LogManagerWidget.cpp" line="108" />
        <source>This will permanently delete all log entries. This action cannot be undone.</source>
        <translation>Alle Protokolleinträge werden dauerhaft gelöscht. Dies kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <location filename="../LogManagerWidget.cpp" line="109" />
        <source>Clear Logs</source>
        <translation>Protokolle löschen</translation>
    </message>
</context>
<context>
    <name>LogManagerWindow</name>
    <message>
        <location filename="../LogManagerWidget.cpp" line="127" />
        <source>Log Manager</source>
        <translation>Protokollverwaltung</translation>
    </message>
</context>
<context>
    <name>NewRuleDialog</name>
    <message>
        <location filename="../NewRuleDialog.cpp" line="14" />
        <source>New Rule</source>
        <translation>Neue Regel</translation>
    </message>
    <message>
        <location filename="../NewRuleDialog.cpp" line="18" />
        <source>e.g., Office Network</source>
        <translation>z. B. Büronetz</translation>
    </message>
    <message>
        <location filename="../NewRuleDialog.cpp" line="19" />
        <source>Rule name:</source>
        <translation>Name der Regel:</translation>
    </message>
    <message>
        <location filename="../NewRuleDialog.cpp" line="22" />
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../NewRuleDialog.cpp" line="23" />
        <source>Create</source>
        <translation>Anlegen</translation>
    </message>
</context>
<context>
    <name>PreferencesWindow</name>
    <message>
        <location filename="../PreferencesWindow.cpp" line="42" />
        <source>Tarnwell Preferences</source>
        <translation>Tarnwell-Einstellungen</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="50" />
        <source>Connections</source>
        <translation>Verbindungen</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="52" />
        <source>Connection test timeout:</source>
        <translation>Zeitlimit Verbindungstest:</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="52" />
        <location filename="../PreferencesWindow.cpp" line="54" />
        <location filename="../PreferencesWindow.cpp" line="56" />
        <source> s</source>
        <translation> s</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="53" />
        <source>Range: 1 - 5 seconds</source>
        <translation>Bereich: 1 - 5 Sekunden</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="54" />
        <source>Mount timeout:</source>
        <translation>Zeitlimit Verbinden:</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="55" />
        <source>Range: 10 - 300 seconds</source>
        <translation>Bereich: 10 - 300 Sekunden</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="56" />
        <source>Auto-remount interval:</source>
        <translation>Intervall Auto-Remount:</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="58" />
        <source>Range: 10 - 1440 seconds (default 15). How often Tarnwell re-checks Auto-Mount and Scheduled Mount shares. Lower = faster reconnect after a drop; higher = quieter on the network.</source>
        <translation>Bereich: 10 - 1440 Sekunden (Standard 15). Wie oft Tarnwell Auto-Mount- und geplante Freigaben prüft. Niedriger = schnelleres Neuverbinden nach einem Abbruch; höher = weniger Netzverkehr.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="64" />
        <source>Logs</source>
        <translation>Protokolle</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="66" />
        <source>Keep at most:</source>
        <translation>Höchstens behalten:</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="66" />
        <source> entries</source>
        <translation> Einträge</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="67" />
        <source>Range: 10 - 2000 entries</source>
        <translation>Bereich: 10 - 2000 Einträge</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="68" />
        <source>Auto-delete logs when share is removed</source>
        <translation>Protokolle beim Entfernen einer Freigabe automatisch löschen</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="69" />
        <source>Removes log history for a share when it's deleted</source>
        <translation>Entfernt den Protokollverlauf einer Freigabe, wenn sie gelöscht wird</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="70" />
        <source>Clear All Logs…</source>
        <translation>Alle Protokolle löschen…</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="72" />
        <source>Clear all logs if needed for security or privacy reasons.</source>
        <translation>Alle Protokolle löschen, falls aus Sicherheits- oder Datenschutzgründen nötig.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="76" />
        <source>Clear All Logs?</source>
        <translation>Alle Protokolle löschen?</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="77" />
        <source>This will permanently delete all log entries. This action cannot be undone.</source>
        <translation>Alle Protokolleinträge werden dauerhaft gelöscht. Dies kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="77" />
        <source>Clear Logs</source>
        <translation>Protokolle löschen</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="83" />
        <source>Open Logs</source>
        <translation>Protokolle öffnen</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="85" />
        <source>Bring Tarnwell to the front and open the Logs tab.</source>
        <translation>Tarnwell in den Vordergrund holen und den Tab „Protokolle“ öffnen.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="96" />
        <source>Application</source>
        <translation>Anwendung</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="98" />
        <source>Open Dashboard at Startup</source>
        <translation>Übersicht beim Start öffnen</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="99" />
        <source>Play action sounds</source>
        <translation>Aktionstöne abspielen</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="100" />
        <source>Play a short sound when you click Mount, Eject, Pause, or Clean Up. Silent when the desktop is muted.</source>
        <translation>Spielt einen kurzen Ton bei Verbinden, Auswerfen, Pause oder Aufräumen. Stumm, wenn der Desktop stummgeschaltet ist.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="104" />
        <source>This build plays no sounds.</source>
        <translation>Diese Version spielt keine Töne ab.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="108" />
        <source>Tray only</source>
        <translation>Nur im Infobereich</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="109" />
        <source>Tray and taskbar</source>
        <translation>Infobereich und Taskleiste</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="110" />
        <source>Taskbar only</source>
        <translation>Nur in der Taskleiste</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="118" />
        <source>Show Tarnwell in:</source>
        <translation>Tarnwell anzeigen in:</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="119" />
        <source>Start at login</source>
        <translation>Bei der Anmeldung starten</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="146" />
        <source>Restart Required</source>
        <translation>Neustart erforderlich</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="147" />
        <source>The language change will take effect after restarting Tarnwell.</source>
        <translation>Die neue Sprache gilt nach einem Neustart von Tarnwell.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="149" />
        <source>Language:</source>
        <translation>Sprache:</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="153" />
        <source>Configuration</source>
        <translation>Konfiguration</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="156" />
        <source>Import…</source>
        <translation>Importieren…</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="157" />
        <source>Export…</source>
        <translation>Exportieren…</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="161" />
        <source>Configuration import and export are not part of this build yet.</source>
        <translation>Import und Export der Konfiguration sind in dieser Version noch nicht enthalten.</translation>
    </message>
    <message>
        <location filename="../PreferencesWindow.cpp" line="166" />
        <source>Updates come with your distribution's packages.</source>
        <translation>Aktualisierungen kommen mit den Paketen Ihrer Distribution.</translation>
    </message>
</context>
<context>
    <name>ProfileGeneratorWindow</name>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="33" />
        <source>Allow users to add their own shares</source>
        <translation>Benutzer dürfen eigene Freigaben hinzufügen</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="34" />
        <source>Allow export (CSV, config, sets)</source>
        <translation>Export erlauben (CSV, Konfiguration, Sets)</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="35" />
        <source>Allow import (CSV, config, sets)</source>
        <translation>Import erlauben (CSV, Konfiguration, Sets)</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="39" />
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="40" />
        <source>Save…</source>
        <translation>Sichern…</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="44" />
        <location filename="../ProfileGeneratorWindow.cpp" line="47" />
        <source>MDM Profile Generator</source>
        <translation>MDM-Profilgenerator</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="52" />
        <source>Create a .mobileconfig profile for JAMF, Mosyle, Kandji, etc.</source>
        <translation>Erstellt ein .mobileconfig-Profil für JAMF, Mosyle, Kandji usw.</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="58" />
        <source>Organization</source>
        <translation>Organisation</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="64" />
        <source>Organization Name:</source>
        <translation>Name der Organisation:</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="65" />
        <source>Help Desk Email:</source>
        <translation>Helpdesk-E-Mail:</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="68" />
        <source>Policies</source>
        <translation>Richtlinien</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="79" />
        <source>Enforced Wi-Fi networks:</source>
        <translation>Vorgeschriebene WLAN-Netze:</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="82" />
        <source>Managed Shares</source>
        <translation>Verwaltete Freigaben</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="85" />
        <source>Nickname</source>
        <translation>Name</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="85" />
        <source>Hostname</source>
        <translation>Hostname</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="85" />
        <source>Share</source>
        <translation>Freigabe</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="85" />
        <source>Protocol</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="85" />
        <source>Locked</source>
        <translation>Gesperrt</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="95" />
        <source>Add a share</source>
        <translation>Freigabe hinzufügen</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="98" />
        <source>Remove the selected share</source>
        <translation>Ausgewählte Freigabe entfernen</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="110" />
        <source>Generate Profile</source>
        <translation>Profil erzeugen</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="128" />
        <source>Generated Profile</source>
        <translation>Erzeugtes Profil</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="216" />
        <source>Copied to clipboard</source>
        <translation>In die Zwischenablage kopiert</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="229" />
        <source>Save Configuration Profile</source>
        <translation>Konfigurationsprofil sichern</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="230" />
        <source>Deploy this file with your device-management service</source>
        <translation>Verteilen Sie diese Datei mit Ihrer Geräteverwaltung</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="231" />
        <source>Configuration profiles (*.mobileconfig)</source>
        <translation>Konfigurationsprofile (*.mobileconfig)</translation>
    </message>
    <message>
        <location filename="../ProfileGeneratorWindow.cpp" line="240" />
        <source>Saved to %1</source>
        <translation>Gesichert unter %1</translation>
    </message>
</context>
<context>
    <name>RuleDetailView</name>
    <message>
        <location filename="../RuleDetailView.cpp" line="48" />
        <source>Run Now</source>
        <translation>Jetzt ausführen</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="49" />
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="50" />
        <source>Delete Rule</source>
        <translation>Regel löschen</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="82" />
        <location filename="../RuleDetailView.cpp" line="170" />
        <source>Conditions</source>
        <translation>Bedingungen</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="86" />
        <location filename="../RuleDetailView.cpp" line="171" />
        <source>Actions</source>
        <translation>Aktionen</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="87" />
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="148" />
        <source>(disabled)</source>
        <translation>(deaktiviert)</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="149" />
        <source>Last run: </source>
        <translation>Zuletzt ausgeführt: </translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="152" />
        <source>All conditions must be true</source>
        <translation>Alle Bedingungen müssen erfüllt sein</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="153" />
        <source>Any condition can be true</source>
        <translation>Eine beliebige Bedingung genügt</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="157" />
        <source>No conditions defined</source>
        <translation>Keine Bedingungen festgelegt</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="161" />
        <source>No actions defined</source>
        <translation>Keine Aktionen festgelegt</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="165" />
        <source>Times Triggered</source>
        <translation>Anzahl Auslösungen</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="166" />
        <source>Last Triggered</source>
        <translation>Zuletzt ausgelöst</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="166" />
        <source>Never</source>
        <translation>Nie</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="167" />
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="167" />
        <source>Enabled</source>
        <translation>Aktiv</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="167" />
        <source>Disabled</source>
        <translation>Deaktiviert</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="168" />
        <source>Conditions at last check</source>
        <translation>Bedingungen bei der letzten Prüfung</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="169" />
        <source>Not evaluated yet</source>
        <translation>Noch nicht ausgewertet</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="169" />
        <source>Met</source>
        <translation>Erfüllt</translation>
    </message>
    <message>
        <location filename="../RuleDetailView.cpp" line="169" />
        <source>Not met</source>
        <translation>Nicht erfüllt</translation>
    </message>
</context>
<context>
    <name>RuleEditorDialog</name>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="23" />
        <source>No conditions - rule will never trigger</source>
        <translation>Keine Bedingungen – die Regel wird nie ausgelöst</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="28" />
        <source>Actions execute in order when conditions are met</source>
        <translation>Aktionen werden der Reihe nach ausgeführt, wenn die Bedingungen erfüllt sind</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="33" />
        <source>No actions - rule won't do anything</source>
        <translation>Keine Aktionen – die Regel bewirkt nichts</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="43" />
        <source>Enabled</source>
        <translation>Aktiv</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="51" />
        <source>Edit Rule</source>
        <translation>Regel bearbeiten</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="56" />
        <source>Name:</source>
        <translation>Name:</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="81" />
        <source>Conditions</source>
        <translation>Bedingungen</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="82" />
        <source>Add Condition</source>
        <translation>Bedingung hinzufügen</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="84" />
        <source>All conditions must be true</source>
        <translation>Alle Bedingungen müssen erfüllt sein</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="85" />
        <source>Any condition can be true</source>
        <translation>Eine beliebige Bedingung genügt</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="91" />
        <source>Actions</source>
        <translation>Aktionen</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="92" />
        <source>Add Action</source>
        <translation>Aktion hinzufügen</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="97" />
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="98" />
        <source>Save</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <location filename="../RuleEditorDialog.cpp" line="194" />
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
</context>
<context>
    <name>RuleSheetDialog</name>
    <message>
        <location filename="../RuleSheetDialog.cpp" line="32" />
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../RuleSheetDialog.cpp" line="33" />
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
</context>
<context>
    <name>RuleSheets</name>
    <message>
        <location filename="../RuleSheets.cpp" line="23" />
        <source>Select a volume...</source>
        <translation>Volume wählen…</translation>
    </message>
</context>
<context>
    <name>RulesView</name>
    <message>
        <location filename="../RulesView.cpp" line="59" />
        <source>Rules automate volume mounting
based on conditions you define.</source>
        <translation>Regeln verbinden Volumes automatisch
anhand von Bedingungen, die Sie festlegen.</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="64" />
        <source>Choose a rule from the list to view or edit it,
or create a new rule to get started.</source>
        <translation>Wählen Sie eine Regel aus der Liste, um sie anzusehen oder zu bearbeiten,
oder legen Sie eine neue Regel an.</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="71" />
        <source>Rule Engine</source>
        <translation>Regel-Engine</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="74" />
        <source>Duplicate</source>
        <translation>Duplizieren</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="85" />
        <source>Evaluate the rules and run their actions when their conditions become true</source>
        <translation>Regeln auswerten und ihre Aktionen ausführen, sobald ihre Bedingungen erfüllt sind</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="102" />
        <source>New Rule</source>
        <translation>Neue Regel</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="118" />
        <source>Create Your First Rule</source>
        <translation>Erste Regel anlegen</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="120" />
        <source>Add Example Rules</source>
        <translation>Beispielregeln hinzufügen</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="136" />
        <source>Recent Activity</source>
        <translation>Letzte Aktivität</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="222" />
        <source>(disabled)</source>
        <translation>(deaktiviert)</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="274" />
        <source>No activity yet</source>
        <translation>Noch keine Aktivität</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="294" />
        <source>Running</source>
        <translation>Läuft</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="294" />
        <source>Stopped — rules do not act until the engine is switched on</source>
        <translation>Angehalten – Regeln wirken erst, wenn die Engine eingeschaltet ist</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="296" />
        <source>last check %1</source>
        <translation>letzte Prüfung %1</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="335" />
        <location filename="../RulesView.cpp" line="346" />
        <source>Rule Not Saved</source>
        <translation>Regel nicht gespeichert</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="335" />
        <source>The rule was deleted meanwhile.</source>
        <translation>Die Regel wurde inzwischen gelöscht.</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="347" />
        <source>The rules file could not be written: %1</source>
        <translation>Die Regeldatei konnte nicht geschrieben werden: %1</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="366" />
        <source>Delete "%1"?</source>
        <translation>„%1“ löschen?</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="366" />
        <source>This action cannot be undone.</source>
        <translation>Dieser Vorgang kann nicht rückgängig gemacht werden.</translation>
    </message>
    <message>
        <location filename="../RulesView.cpp" line="367" />
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>SetsView</name>
    <message>
        <location filename="../SetsView.cpp" line="38" />
        <source>Tarnwell set file (*.twconfig)</source>
        <translation>Tarnwell-Set-Datei (*.twconfig)</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="111" />
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="112" />
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="113" />
        <source>Move Up</source>
        <translation>Nach oben</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="114" />
        <source>Move Down</source>
        <translation>Nach unten</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="115" />
        <source>Rename…</source>
        <translation>Umbenennen…</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="116" />
        <location filename="../SetsView.cpp" line="452" />
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="117" />
        <source>Mount Set</source>
        <translation>Set verbinden</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="118" />
        <source>Eject Set</source>
        <translation>Set auswerfen</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="119" />
        <source>Export Set…</source>
        <translation>Set exportieren…</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="120" />
        <source>Import Set…</source>
        <translation>Set importieren…</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="136" />
        <source>New Set…</source>
        <translation>Neues Set…</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="149" />
        <source>A share set mounts and ejects several shares as one.
Create a set, then add its shares.</source>
        <translation>Ein Set verbindet und wirft mehrere Freigaben gemeinsam aus.
Legen Sie ein Set an und fügen Sie dann seine Freigaben hinzu.</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="173" />
        <source>Icon:</source>
        <translation>Symbol:</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="187" />
        <source>Shares in this set</source>
        <translation>Freigaben in diesem Set</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="201" />
        <source>Choose a share…</source>
        <translation>Freigabe wählen…</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="248" />
        <source>%1: nothing to mount (%2 already mounted or busy).</source>
        <translation>%1: nichts zu verbinden (%2 bereits verbunden oder beschäftigt).</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="249" />
        <source>%1: nothing to eject (%2 not mounted or busy).</source>
        <translation>%1: nichts auszuwerfen (%2 nicht verbunden oder beschäftigt).</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="251" />
        <source>%1: %2 of %3 shares mounted.</source>
        <translation>%1: %2 von %3 Freigaben verbunden.</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="251" />
        <source>%1: %2 of %3 shares ejected.</source>
        <translation>%1: %2 von %3 Freigaben ausgeworfen.</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="312" />
        <source>Managed by %1</source>
        <translation>Verwaltet von %1</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="333" />
        <location filename="../SetsView.cpp" line="569" />
        <source>Select a set file (.twconfig)</source>
        <translation>Set-Datei wählen (.twconfig)</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="351" />
        <location filename="../SetsView.cpp" line="542" />
        <source>Save this set for sharing (passwords not included)</source>
        <translation>Dieses Set zum Weitergeben sichern (ohne Passwörter)</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="363" />
        <source>(missing share %1)</source>
        <translation>(fehlende Freigabe %1)</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="403" />
        <source>The set could not be saved.</source>
        <translation>Das Set konnte nicht gesichert werden.</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="413" />
        <source>New Set</source>
        <translation>Neues Set</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="414" />
        <location filename="../SetsView.cpp" line="427" />
        <source>Set name:</source>
        <translation>Name des Sets:</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="426" />
        <source>Rename Set</source>
        <translation>Set umbenennen</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="451" />
        <source>Delete Set?</source>
        <translation>Set löschen?</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="452" />
        <source>"%1" will be removed. Its shares stay configured.</source>
        <translation>„%1“ wird entfernt. Seine Freigaben bleiben eingerichtet.</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="511" />
        <source>Mounting %1…</source>
        <translation>%1 wird verbunden…</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="520" />
        <source>Ejecting %1…</source>
        <translation>%1 wird ausgeworfen…</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="535" />
        <location filename="../SetsView.cpp" line="552" />
        <source>Export Failed</source>
        <translation>Export fehlgeschlagen</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="541" />
        <source>Export Set</source>
        <translation>Set exportieren</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="550" />
        <source>Set exported to %1.</source>
        <translation>Set nach %1 exportiert.</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="562" />
        <location filename="../SetsView.cpp" line="576" />
        <source>Import Failed</source>
        <translation>Import fehlgeschlagen</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="568" />
        <source>Import Set</source>
        <translation>Set importieren</translation>
    </message>
    <message>
        <location filename="../SetsView.cpp" line="579" />
        <source>Import Complete</source>
        <translation>Import abgeschlossen</translation>
    </message>
</context>
<context>
    <name>ShareEditorDialog</name>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="33" />
        <source>Network port number. Leave empty for defaults:
• SMB: 445
• AFP: 548
• NFS: 2049
• WebDAV: 80
• WebDAV Secure: 443

Only change if your server uses a non-standard port.</source>
        <translation>Netzwerk-Port. Leer lassen für die Standardwerte:
• SMB: 445
• AFP: 548
• NFS: 2049
• WebDAV: 80
• WebDAV Secure: 443

Nur ändern, wenn Ihr Server einen anderen Port verwendet.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="39" />
        <source>This is the URL Tarnwell will mount. Select the text to copy it.
A Share Name of RAW becomes /RAW on the server; leave it blank for /.</source>
        <translation>Diese URL verbindet Tarnwell. Markieren Sie den Text, um ihn zu kopieren.
Der Freigabename RAW wird zu /RAW auf dem Server; leer lassen für /.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="45" />
        <source>For WebDAV, leave Share Name blank to mount the server root.</source>
        <translation>Bei WebDAV den Freigabenamen leer lassen, um das Stammverzeichnis des Servers zu verbinden.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="74" />
        <source>Add Share</source>
        <translation>Freigabe hinzufügen</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="74" />
        <source>Edit Share</source>
        <translation>Freigabe bearbeiten</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="82" />
        <source>IT-Managed Share</source>
        <translation>Von der IT verwaltete Freigabe</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="83" />
        <source>This share is managed by %1. Settings cannot be modified.</source>
        <translation>Diese Freigabe wird von %1 verwaltet. Die Einstellungen können nicht geändert werden.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="96" />
        <source>Connection</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="99" />
        <source>Optional display name</source>
        <translation>Optionaler Anzeigename</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="100" />
        <source>Name:</source>
        <translation>Name:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="105" />
        <source>SMB</source>
        <translation>SMB</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="106" />
        <source>AFP</source>
        <translation>AFP</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="107" />
        <source>NFS</source>
        <translation>NFS</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="108" />
        <source>WebDAV</source>
        <translation>WebDAV</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="109" />
        <source>WebDAV Secure</source>
        <translation>WebDAV Secure</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="110" />
        <source>Protocol:</source>
        <translation>Protokoll:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="113" />
        <source>Server name or address</source>
        <translation>Servername oder Adresse</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="115" />
        <source>Server:</source>
        <translation>Server:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="119" />
        <source>Default</source>
        <translation>Standard</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="121" />
        <source>Port:</source>
        <translation>Port:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="124" />
        <source>Certificate:</source>
        <translation>Zertifikat:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="129" />
        <source>Share Name:</source>
        <translation>Freigabename:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="137" />
        <source>Mount URL:</source>
        <translation>Verbindungs-URL:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="143" />
        <source>Guest login (no password)</source>
        <translation>Gastzugang (ohne Passwort)</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="147" />
        <source>User:</source>
        <translation>Benutzer:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="151" />
        <location filename="../ShareEditorDialog.cpp" line="483" />
        <source>Stored in the keyring</source>
        <translation>Im Schlüsselbund gespeichert</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="151" />
        <source>No keyring available</source>
        <translation>Kein Schlüsselbund verfügbar</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="152" />
        <source>Password:</source>
        <translation>Passwort:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="155" />
        <source>e.g., Work, Media</source>
        <translation>z. B. Arbeit, Medien</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="156" />
        <source>Group:</source>
        <translation>Gruppe:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="161" />
        <source>Mounting and automation</source>
        <translation>Verbinden und Automatik</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="163" />
        <source>Mount at a custom folder</source>
        <translation>In einem eigenen Ordner verbinden</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="167" />
        <source>Folder:</source>
        <translation>Ordner:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="170" />
        <source>Auto-mount (keep mounted)</source>
        <translation>Auto-Mount (verbunden halten)</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="173" />
        <source>Scheduled mount</source>
        <translation>Geplantes Verbinden</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="184" />
        <source>until</source>
        <translation>bis</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="187" />
        <source>Mount from:</source>
        <translation>Verbinden von:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="199" />
        <source>Days:</source>
        <translation>Tage:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="202" />
        <source>Any network</source>
        <translation>Jedes Netz</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="203" />
        <source>Comma-separated Wi-Fi network names the share may mount on. Empty: any network.</source>
        <translation>Kommagetrennte WLAN-Namen, in denen die Freigabe verbunden werden darf. Leer: jedes Netz.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="204" />
        <source>Allowed Wi-Fi:</source>
        <translation>Erlaubtes WLAN:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="207" />
        <source>e.g. 00:11:22:33:44:55</source>
        <translation>z. B. 00:11:22:33:44:55</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="208" />
        <source>Hardware address of the server, woken with a Wake-on-LAN packet before mounting.</source>
        <translation>Hardware-Adresse des Servers; er wird vor dem Verbinden per Wake-on-LAN geweckt.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="209" />
        <source>Wake-on-LAN:</source>
        <translation>Wake-on-LAN:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="212" />
        <source>After mount:</source>
        <translation>Nach dem Verbinden:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="215" />
        <source>Before eject:</source>
        <translation>Vor dem Auswerfen:</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="302" />
        <source>Choose…</source>
        <translation>Auswählen…</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="307" />
        <source>Choose Mount Folder</source>
        <translation>Ordner zum Verbinden wählen</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="307" />
        <source>Choose Script</source>
        <translation>Skript wählen</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="328" />
        <location filename="../ShareEditorDialog.cpp" line="355" />
        <source>Trust Certificate…</source>
        <translation>Zertifikat vertrauen…</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="330" />
        <source>Reads the certificate the server presents and asks whether this share trusts it (for a self-signed certificate, or one the system does not know).</source>
        <translation>Liest das Zertifikat, das der Server vorlegt, und fragt, ob diese Freigabe ihm vertraut (für ein selbst signiertes Zertifikat oder eines, das das System nicht kennt).</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="333" />
        <source>Forget</source>
        <translation>Vergessen</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="335" />
        <source>Trust no server certificate of its own for this share any more.</source>
        <translation>Dieser Freigabe kein eigenes Serverzertifikat mehr vertrauen.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="355" />
        <source>Reading…</source>
        <translation>Wird gelesen…</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="360" />
        <source>Only those the system trusts</source>
        <translation>Nur solche, denen das System vertraut</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="361" />
        <source>Only certificates from authorities the system trusts are accepted.</source>
        <translation>Nur Zertifikate von Stellen, denen das System vertraut, werden angenommen.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="364" />
        <source>Trusted: %1…</source>
        <translation>Vertraut: %1…</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="365" />
        <source>Trusted certificate, SHA-256:
%1</source>
        <translation>Vertrautes Zertifikat, SHA-256:
%1</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="393" />
        <source>Trust Certificate</source>
        <translation>Zertifikat vertrauen</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="398" />
        <source>The certificate of %1 could not be read: %2</source>
        <translation>Das Zertifikat von %1 konnte nicht gelesen werden: %2</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="404" />
        <source>This share already trusts the certificate %1 presents.</source>
        <translation>Diese Freigabe vertraut dem Zertifikat, das %1 vorlegt, bereits.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="407" />
        <source>%1 presents this certificate:

SHA-256:
%2

Subject: %3

Compare the fingerprint with the one the server's administrator gives you. Trust this certificate for this share?</source>
        <translation>%1 legt dieses Zertifikat vor:

SHA-256:
%2

Inhaber: %3

Vergleichen Sie den Fingerabdruck mit dem, den Ihnen die Verwaltung des Servers nennt. Diesem Zertifikat für diese Freigabe vertrauen?</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="411" />
        <source>Trust</source>
        <translation>Vertrauen</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="447" />
        <source>(enter a server)</source>
        <translation>(Server eingeben)</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="473" />
        <source>Loading…</source>
        <translation>Wird geladen…</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="534" />
        <source>Enter the server's name or address.</source>
        <translation>Geben Sie den Namen oder die Adresse des Servers ein.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="536" />
        <source>A server name has no spaces or slashes; enter the share name below.</source>
        <translation>Ein Servername enthält keine Leerzeichen oder Schrägstriche; den Freigabenamen unten eingeben.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="545" />
        <source>A port is a number from 1 to 65535, or empty for the protocol's default.</source>
        <translation>Ein Port ist eine Zahl von 1 bis 65535, oder leer für den Standard des Protokolls.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="555" />
        <source>Enter the share name. %1</source>
        <translation>Geben Sie den Freigabenamen ein. %1</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="559" />
        <source>Enter a user name, or choose guest login.</source>
        <translation>Geben Sie einen Benutzernamen ein oder wählen Sie den Gastzugang.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="566" />
        <source>Choose a full folder path (beginning with /).</source>
        <translation>Wählen Sie einen vollständigen Ordnerpfad (beginnend mit /).</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="574" />
        <source>A scheduled mount needs at least one day.</source>
        <translation>Ein geplantes Verbinden braucht mindestens einen Tag.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="578" />
        <source>Enter six hexadecimal pairs, e.g. 00:11:22:33:44:55.</source>
        <translation>Geben Sie sechs Hexadezimalpaare ein, z. B. 00:11:22:33:44:55.</translation>
    </message>
    <message>
        <location filename="../ShareEditorDialog.cpp" line="584" />
        <source>Choose a script by its full path.</source>
        <translation>Wählen Sie ein Skript mit vollständigem Pfad.</translation>
    </message>
</context>
<context>
    <name>ShareStatusLabel</name>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="20" />
        <source>Ready</source>
        <comment>Idle status text</comment>
        <translation>Ready</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="41" />
        <source>MOUNTED · PAUSED</source>
        <comment>Mounted while auto-mount is paused</comment>
        <translation>VERBUNDEN · PAUSIERT</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="42" />
        <source>MOUNTED ✓</source>
        <comment>Mounted status indicator</comment>
        <translation>VERBUNDEN ✓</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="47" />
        <source>PAUSED</source>
        <comment>Auto-mount paused status</comment>
        <translation>PAUSIERT</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="49" />
        <source>CLEANED UP</source>
        <comment>Clean Up status indicator</comment>
        <translation>AUFGERÄUMT</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="51" />
        <source>READY</source>
        <comment>Ready status indicator</comment>
        <translation>BEREIT</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="53" />
        <source>EJECTED</source>
        <comment>Ejected status indicator</comment>
        <translation>AUSGEWORFEN</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="58" />
        <source>CONNECTING %1</source>
        <comment>Connecting with countdown</comment>
        <translation>VERBINDE %1</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="59" />
        <source>CONNECTING...</source>
        <comment>Connecting status</comment>
        <translation>VERBINDE...</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="62" />
        <source>MOUNTING...</source>
        <comment>Mounting status</comment>
        <translation>EINHÄNGEN...</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="67" />
        <source>HOST UNREACHABLE</source>
        <comment>Host unreachable error</comment>
        <translation>HOST NICHT ERREICHBAR</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="70" />
        <source>SHARE NOT FOUND</source>
        <comment>Share not found error</comment>
        <translation>FREIGABE NICHT GEFUNDEN</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="72" />
        <source>ACCESS DENIED</source>
        <comment>Access denied error</comment>
        <translation>ZUGRIFF VERWEIGERT</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="65" />
        <source>UNTRUSTED CERTIFICATE</source>
        <comment>Server certificate not trusted</comment>
        <translation>NICHT VERTRAUTES ZERTIFIKAT</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="74" />
        <source>AUTH FAILED</source>
        <comment>Authentication failed error</comment>
        <translation>ANMELDUNG FEHLGESCHLAGEN</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="76" />
        <source>TIMED OUT</source>
        <comment>Timeout error</comment>
        <translation>ZEITÜBERSCHREITUNG</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="78" />
        <source>CONNECT FAILED</source>
        <comment>Connection failed error</comment>
        <translation>VERBINDUNG FEHLGESCHLAGEN</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="80" />
        <source>HOST UNRESOLVED</source>
        <comment>Hostname unresolved error</comment>
        <translation>HOST NICHT AUFGELÖST</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="82" />
        <source>ERROR</source>
        <comment>Generic error status</comment>
        <translation>FEHLER</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="84" />
        <source>RESOLVED</source>
        <comment>Hostname resolved status</comment>
        <translation>AUFGELÖST</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="86" />
        <source>LOCAL OK</source>
        <comment>Local connection OK status</comment>
        <translation>LOKAL OK</translation>
    </message>
    <message>
        <location filename="../ShareStatusLabel.cpp" line="88" />
        <source>AUTHENTICATING</source>
        <comment>Authenticating status</comment>
        <translation>ANMELDUNG</translation>
    </message>
</context>
<context>
    <name>ShareTableModel</name>
    <message>
        <location filename="../ShareTableModel.cpp" line="101" />
        <source>Managed by %1</source>
        <translation>Verwaltet von %1</translation>
    </message>
    <message>
        <location filename="../ShareTableModel.cpp" line="144" />
        <source>Share</source>
        <translation>Freigabe</translation>
    </message>
    <message>
        <location filename="../ShareTableModel.cpp" line="146" />
        <source>URL</source>
        <translation>URL</translation>
    </message>
    <message>
        <location filename="../ShareTableModel.cpp" line="148" />
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <location filename="../ShareTableModel.cpp" line="150" />
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <location filename="../ShareTableModel.cpp" line="152" />
        <source>Group</source>
        <translation>Gruppe</translation>
    </message>
</context>
<context>
    <name>TrayController</name>
    <message>
        <location filename="../TrayController.cpp" line="22" />
        <source>Tarnwell</source>
        <translation>Tarnwell</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="123" />
        <source>Mount</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="127" />
        <source>Eject</source>
        <translation>Auswerfen</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="134" />
        <source>Clean Up</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="143" />
        <source>No shares configured</source>
        <translation>Keine Freigaben eingerichtet</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="147" />
        <source>Resume Auto-Mount</source>
        <translation>Auto-Mount fortsetzen</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="147" />
        <source>Pause Auto-Mount</source>
        <translation>Auto-Mount pausieren</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="158" />
        <source>Open Dashboard</source>
        <translation>Übersicht öffnen</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="159" />
        <source>Log Manager…</source>
        <translation>Protokollverwaltung…</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="160" />
        <source>Preferences…</source>
        <translation>Einstellungen…</translation>
    </message>
    <message>
        <location filename="../TrayController.cpp" line="162" />
        <source>Quit Tarnwell</source>
        <translation>Tarnwell beenden</translation>
    </message>
</context>
</TS>