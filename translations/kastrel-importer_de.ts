<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>KastrelImporter</name>
    <message>
        <source>An object of type %1 cannot be archived.</source>
        <translation>Ein Objekt vom Typ %1 kann nicht archiviert werden.</translation>
    </message>
    <message>
        <source>The data is not a keyed archive.</source>
        <translation>Die Daten sind kein Schlüsselarchiv.</translation>
    </message>
    <message>
        <source>The keyed archive has no root object.</source>
        <translation>Das Schlüsselarchiv hat kein Wurzelobjekt.</translation>
    </message>
    <message>
        <source>The keyed archive&apos;s root object is not a %1.</source>
        <translation>Das Wurzelobjekt des Schlüsselarchivs ist kein %1.</translation>
    </message>
    <message>
        <source>The keyed archive refers to an object it does not hold.</source>
        <translation>Das Schlüsselarchiv verweist auf ein Objekt, das es nicht enthält.</translation>
    </message>
    <message>
        <source>The value for the key %1 is not a number.</source>
        <translation>Der Wert zum Schlüssel %1 ist keine Zahl.</translation>
    </message>
    <message>
        <source>The value for the key %1 is not data.</source>
        <translation>Der Wert zum Schlüssel %1 sind keine Daten.</translation>
    </message>
    <message>
        <source>The value for the key %1 is not a rectangle.</source>
        <translation>Der Wert zum Schlüssel %1 ist kein Rechteck.</translation>
    </message>
    <message>
        <source>The value for the key %1 is not an object reference.</source>
        <translation>Der Wert zum Schlüssel %1 ist kein Objektverweis.</translation>
    </message>
    <message>
        <source>The keyed archive holds an object that contains itself.</source>
        <translation>Das Schlüsselarchiv enthält ein Objekt, das sich selbst enthält.</translation>
    </message>
    <message>
        <source>The keyed archive nests its objects too deeply.</source>
        <translation>Das Schlüsselarchiv verschachtelt seine Objekte zu tief.</translation>
    </message>
    <message>
        <source>The keyed archive holds an object of no known form.</source>
        <translation>Das Schlüsselarchiv enthält ein Objekt in unbekannter Form.</translation>
    </message>
    <message>
        <source>The keyed archive holds an object without a class.</source>
        <translation>Das Schlüsselarchiv enthält ein Objekt ohne Klasse.</translation>
    </message>
    <message>
        <source>The keyed archive holds an object of the unknown class %1.</source>
        <translation>Das Schlüsselarchiv enthält ein Objekt der unbekannten Klasse %1.</translation>
    </message>
    <message>
        <source>The keyed archive holds a broken string.</source>
        <translation>Das Schlüsselarchiv enthält eine beschädigte Zeichenkette.</translation>
    </message>
    <message>
        <source>The keyed archive holds a date out of range.</source>
        <translation>Das Schlüsselarchiv enthält ein Datum außerhalb des gültigen Bereichs.</translation>
    </message>
    <message>
        <source>The keyed archive holds a broken array.</source>
        <translation>Das Schlüsselarchiv enthält eine beschädigte Liste.</translation>
    </message>
    <message>
        <source>The keyed archive holds a dictionary whose keys and objects differ in number.</source>
        <translation>Das Schlüsselarchiv enthält ein Wörterbuch mit ungleich vielen Schlüsseln und Objekten.</translation>
    </message>
    <message>
        <source>The keyed archive holds a broken dictionary.</source>
        <translation>Das Schlüsselarchiv enthält ein beschädigtes Wörterbuch.</translation>
    </message>
    <message>
        <source>The keyed archive holds a dictionary key that is not a string.</source>
        <translation>Das Schlüsselarchiv enthält einen Wörterbuchschlüssel, der keine Zeichenkette ist.</translation>
    </message>
    <message>
        <source>The keyed archive holds a broken UUID.</source>
        <translation>Das Schlüsselarchiv enthält eine beschädigte UUID.</translation>
    </message>
    <message>
        <source>The keyed archive holds a value of an unknown kind.</source>
        <translation>Das Schlüsselarchiv enthält einen Wert unbekannter Art.</translation>
    </message>
    <message>
        <source>The property list holds a value that cannot be written.</source>
        <translation>Die Eigenschaftsliste enthält einen Wert, der nicht geschrieben werden kann.</translation>
    </message>
    <message>
        <source>The property list is too large to be read.</source>
        <translation>Die Eigenschaftsliste ist zu groß, um gelesen zu werden.</translation>
    </message>
    <message>
        <source>The data is not a valid property list.</source>
        <translation>Die Daten sind keine gültige Eigenschaftsliste.</translation>
    </message>
    <message>
        <source>The property list is nested too deeply or contains itself.</source>
        <translation>Die Eigenschaftsliste ist zu tief verschachtelt oder enthält sich selbst.</translation>
    </message>
    <message>
        <source>The property list uses an unsupported binary version.</source>
        <translation>Die Eigenschaftsliste verwendet eine nicht unterstützte Binärversion.</translation>
    </message>
    <message>
        <source>The property list could not be read.</source>
        <translation>Die Eigenschaftsliste konnte nicht gelesen werden.</translation>
    </message>
    <message>
        <source>The property list could not be written.</source>
        <translation>Die Eigenschaftsliste konnte nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>%ld day remaining</source>
        <translation>noch %ld Tag</translation>
    </message>
    <message>
        <source>%ld days remaining</source>
        <translation>noch %ld Tage</translation>
    </message>
    <message>
        <source>%ld hour remaining</source>
        <translation>noch %ld Stunde</translation>
    </message>
    <message>
        <source>%ld hours remaining</source>
        <translation>noch %ld Stunden</translation>
    </message>
    <message>
        <source>%ld minute remaining</source>
        <translation>noch %ld Minute</translation>
    </message>
    <message>
        <source>%ld minutes remaining</source>
        <translation>noch %ld Minuten</translation>
    </message>
    <message>
        <source>%ld second remaining</source>
        <translation>noch %ld Sekunde</translation>
    </message>
    <message>
        <source>%ld seconds remaining</source>
        <translation>noch %ld Sekunden</translation>
    </message>
    <message>
        <source>A bookmark without a name cannot be put on the clipboard.</source>
        <translation>Ein Lesezeichen ohne Namen kann nicht in die Zwischenablage gelegt werden.</translation>
    </message>
    <message>
        <source>Note</source>
        <translation>Notiz</translation>
    </message>
    <message>
        <source>Document</source>
        <translation>Dokument</translation>
    </message>
    <message>
        <source>Image</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>Sound</source>
        <translation>Ton</translation>
    </message>
    <message>
        <source>Movie</source>
        <translation>Film</translation>
    </message>
    <message>
        <source>Bookmark</source>
        <translation>Lesezeichen</translation>
    </message>
    <message>
        <source>Web Page</source>
        <translation>Webseite</translation>
    </message>
    <message>
        <source>New Note</source>
        <translation>Neue Notiz</translation>
    </message>
    <message>
        <source>Kastrel Importer could not read the text of &quot;%@&quot;. The file Kastrel exported for it is attached to this note unchanged.</source>
        <translation>Kastrel Importer konnte den Text von „%@“ nicht lesen. Die Datei, die Kastrel dafür exportiert hat, hängt unverändert an dieser Notiz.</translation>
    </message>
    <message>
        <source>Kastrel Importer could not read the text of &quot;%@&quot;. The files Kastrel exported for it are attached to this note unchanged.</source>
        <translation>Kastrel Importer konnte den Text von „%@“ nicht lesen. Die Dateien, die Kastrel dafür exportiert hat, hängen unverändert an dieser Notiz.</translation>
    </message>
    <message>
        <source>Kastrel Importer could not read the text of &quot;%@&quot;. The folder Kastrel exported for it is empty.</source>
        <translation>Kastrel Importer konnte den Text von „%@“ nicht lesen. Der Ordner, den Kastrel dafür exportiert hat, ist leer.</translation>
    </message>
    <message>
        <source>The bookmark file could not be written.</source>
        <translation>Die Lesezeichendatei konnte nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>Bookmark name must not be empty.</source>
        <translation>Der Name des Lesezeichens darf nicht leer sein.</translation>
    </message>
    <message>
        <source>Bookmark URL must not be empty.</source>
        <translation>Die Adresse des Lesezeichens darf nicht leer sein.</translation>
    </message>
    <message>
        <source>not imported</source>
        <translation>nicht importiert</translation>
    </message>
    <message>
        <source>imported with its original file attached</source>
        <translation>mit angehängter Originaldatei importiert</translation>
    </message>
    <message>
        <source>not fully imported</source>
        <translation>nicht vollständig importiert</translation>
    </message>
    <message>
        <source>its address &quot;%@&quot; is not a web address</source>
        <translation>seine Adresse „%@“ ist keine Webadresse</translation>
    </message>
    <message>
        <source>its &quot;%@&quot; could not be used (%@)</source>
        <translation>seine Eigenschaft „%@“ konnte nicht verwendet werden (%@)</translation>
    </message>
    <message>
        <source>its identifier is that of an earlier item: it arrived as &quot;%@&quot;, outside the groups that list &quot;%@&quot;</source>
        <translation>seine Kennung gehört schon einem früheren Objekt: es ist als „%@“ angekommen, außerhalb der Gruppen, die „%@“ aufführen</translation>
    </message>
    <message>
        <source>its bookmark file could not be written (%@)</source>
        <translation>seine Lesezeichendatei konnte nicht geschrieben werden (%@)</translation>
    </message>
    <message>
        <source>Unable to export database item with name &quot;%@&quot;.</source>
        <translation>Das Datenbankobjekt „%@“ konnte nicht exportiert werden.</translation>
    </message>
    <message>
        <source>Groups</source>
        <translation>Gruppen</translation>
    </message>
    <message>
        <source>Unable to create the temporary directory to export files.</source>
        <translation>Der temporäre Ordner für die exportierten Dateien konnte nicht angelegt werden.</translation>
    </message>
    <message>
        <source>Items</source>
        <translation>Objekte</translation>
    </message>
    <message>
        <source>Labels</source>
        <translation>Etiketten</translation>
    </message>
    <message>
        <source>its text could not be read (%@)</source>
        <translation>sein Text konnte nicht gelesen werden (%@)</translation>
    </message>
    <message>
        <source>its note could not be written (%@)</source>
        <translation>seine Notiz konnte nicht geschrieben werden (%@)</translation>
    </message>
    <message>
        <source>Kastrel Importer cannot reach Kastrel and Nortavel 3: there is no D-Bus session bus (%@). Run it from your desktop session, or start both applications and the importer under one &quot;dbus-run-session&quot;.</source>
        <translation>Kastrel Importer kann Kastrel und Nortavel 3 nicht erreichen: Es gibt keinen D-Bus-Sitzungsbus (%@). Starten Sie ihn aus Ihrer Desktop-Sitzung, oder starten Sie beide Programme und den Importer unter einem gemeinsamen „dbus-run-session“.</translation>
    </message>
    <message>
        <source>Another export is running. Wait until it has ended, then export again.</source>
        <translation>Ein anderer Export läuft gerade. Warten Sie, bis er beendet ist, und exportieren Sie dann erneut.</translation>
    </message>
    <message>
        <source>Nortavel app not found.</source>
        <translation>Nortavel wurde nicht gefunden.</translation>
    </message>
    <message>
        <source>%@ quit</source>
        <translation>%@ wurde beendet</translation>
    </message>
    <message>
        <source>%@ stopped answering</source>
        <translation>%@ antwortet nicht mehr</translation>
    </message>
    <message>
        <source>%@ did not answer as expected</source>
        <translation>%@ hat nicht wie erwartet geantwortet</translation>
    </message>
    <message>
        <source>%@ during the export. Nothing was handed to Nortavel 3; the details are in the log.</source>
        <translation>%@, während exportiert wurde. Nichts wurde an Nortavel 3 übergeben; die Einzelheiten stehen im Protokoll.</translation>
    </message>
    <message>
        <source>%@ while &quot;%@&quot; was being exported. Nothing was handed to Nortavel 3; the details are in the log.</source>
        <translation>%@, während „%@“ exportiert wurde. Nichts wurde an Nortavel 3 übergeben; die Einzelheiten stehen im Protokoll.</translation>
    </message>
    <message>
        <source>Unable to export PDF item with name &quot;%@&quot;.</source>
        <translation>Das PDF-Objekt „%@“ konnte nicht exportiert werden.</translation>
    </message>
    <message>
        <source>Smart Groups</source>
        <translation>Intelligente Gruppen</translation>
    </message>
    <message>
        <source>The export stopped: there is no space left in the export folder &quot;%@&quot; (%@). Free some space, then export again.</source>
        <translation>Der Export wurde angehalten: Im Exportordner „%@“ ist kein Platz mehr frei (%@). Schaffen Sie Platz und exportieren Sie dann erneut.</translation>
    </message>
    <message>
        <source>its file &quot;%@&quot; is missing from the export</source>
        <translation>seine Datei „%@“ fehlt im Export</translation>
    </message>
    <message>
        <source>The library file &quot;%@&quot; could not be written in full (%@). Nothing was handed to Nortavel 3.</source>
        <translation>Die Bibliotheksdatei „%@“ konnte nicht vollständig geschrieben werden (%@). Nichts wurde an Nortavel 3 übergeben.</translation>
    </message>
    <message>
        <source>it has no name</source>
        <translation>es hat keinen Namen</translation>
    </message>
    <message>
        <source>its dates could not be set</source>
        <translation>seine Datumsangaben konnten nicht gesetzt werden</translation>
    </message>
    <message>
        <source>Unable to locate the Kastrel application.</source>
        <translation>Das Programm Kastrel wurde nicht gefunden.</translation>
    </message>
    <message>
        <source>Kastrel 1.5 or later is required.</source>
        <translation>Kastrel 1.5 oder neuer wird benötigt.</translation>
    </message>
    <message>
        <source>Unable to launch Nortavel.</source>
        <translation>Nortavel konnte nicht gestartet werden.</translation>
    </message>
    <message>
        <source>Nortavel 3.5 or later is required.</source>
        <translation>Nortavel 3.5 oder neuer wird benötigt.</translation>
    </message>
    <message>
        <source>Usage: kastrel-importer                 open the export window
       kastrel-importer export [--only KEYS] [--json]
                                        export without a window (see export --help)
       kastrel-importer --help | --version
</source>
        <translation>Aufruf: kastrel-importer                 öffnet das Exportfenster
        kastrel-importer export [--only ARTEN] [--json]
                                          exportiert ohne Fenster (siehe export --help)
        kastrel-importer --help | --version
</translation>
    </message>
    <message>
        <source>kastrel-importer: unknown command &quot;%1&quot;</source>
        <translation>kastrel-importer: unbekannter Befehl „%1“</translation>
    </message>
    <message>
        <source>Export ended.</source>
        <translation>Export beendet.</translation>
    </message>
    <message>
        <source>Export cancelled. Nothing was handed to Nortavel 3.</source>
        <translation>Export abgebrochen. Nichts wurde an Nortavel 3 übergeben.</translation>
    </message>
    <message numerus="yes">
        <source>Export ended, but %n items did not arrive whole (listed above).</source>
        <translation>
            <numerusform>Export beendet, aber %n Objekt ist nicht vollständig angekommen (oben aufgeführt).</numerusform>
            <numerusform>Export beendet, aber %n Objekte sind nicht vollständig angekommen (oben aufgeführt).</numerusform>
        </translation>
    </message>
    <message>
        <source>Export failed.</source>
        <translation>Export fehlgeschlagen.</translation>
    </message>
    <message>
        <source>Export failed. Nothing was handed to Nortavel 3.</source>
        <translation>Export fehlgeschlagen. Nichts wurde an Nortavel 3 übergeben.</translation>
    </message>
    <message>
        <source>--only needs at least one kind; valid keys: %1</source>
        <translation>--only braucht mindestens eine Art; gültige Arten: %1</translation>
    </message>
    <message>
        <source>unknown key &quot;%1&quot;; valid keys: %2</source>
        <translation>unbekannte Art „%1“; gültige Arten: %2</translation>
    </message>
    <message>
        <source>--only needs a list of keys; valid keys: %1</source>
        <translation>--only braucht eine Liste von Arten; gültige Arten: %1</translation>
    </message>
    <message>
        <source>unknown argument &quot;%1&quot;</source>
        <translation>unbekanntes Argument „%1“</translation>
    </message>
    <message>
        <source>passed over: item %@ (%@)</source>
        <translation>übergangen: Objekt %@ (%@)</translation>
    </message>
    <message numerus="yes">
        <source>characters that XML cannot carry were left out of %n records</source>
        <translation>
            <numerusform>Zeichen, die XML nicht darstellen kann, wurden aus %n Eintrag weggelassen</numerusform>
            <numerusform>Zeichen, die XML nicht darstellen kann, wurden aus %n Einträgen weggelassen</numerusform>
        </translation>
    </message>
    <message>
        <source>library file: %1</source>
        <translation>Bibliotheksdatei: %1</translation>
    </message>
    <message>
        <source>log file: %1</source>
        <translation>Protokolldatei: %1</translation>
    </message>
    <message>
        <source>%1$.0lf of %2$.0lf records exported</source>
        <translation>%1$.0lf von %2$.0lf Einträgen exportiert</translation>
    </message>
    <message>
        <source>Cancelling...</source>
        <translation>Wird abgebrochen …</translation>
    </message>
    <message>
        <source>Exporting %@</source>
        <translation>%@ werden exportiert</translation>
    </message>
    <message>
        <source>An unknown error occurred.</source>
        <translation>Ein unbekannter Fehler ist aufgetreten.</translation>
    </message>
    <message>
        <source>Export cancelled.</source>
        <translation>Export abgebrochen.</translation>
    </message>
    <message numerus="yes">
        <source>%n notes</source>
        <translation>
            <numerusform>%n Notiz</numerusform>
            <numerusform>%n Notizen</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n documents</source>
        <translation>
            <numerusform>%n Dokument</numerusform>
            <numerusform>%n Dokumente</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n images</source>
        <translation>
            <numerusform>%n Bild</numerusform>
            <numerusform>%n Bilder</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n sounds</source>
        <translation>
            <numerusform>%n Ton</numerusform>
            <numerusform>%n Töne</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n movies</source>
        <translation>
            <numerusform>%n Film</numerusform>
            <numerusform>%n Filme</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n bookmarks</source>
        <translation>
            <numerusform>%n Lesezeichen</numerusform>
            <numerusform>%n Lesezeichen</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n web pages</source>
        <translation>
            <numerusform>%n Webseite</numerusform>
            <numerusform>%n Webseiten</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n other items</source>
        <translation>
            <numerusform>%n anderes Objekt</numerusform>
            <numerusform>%n andere Objekte</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items reached Nortavel 3.</source>
        <translation>
            <numerusform>%n Objekt ist in Nortavel 3 angekommen.</numerusform>
            <numerusform>%n Objekte sind in Nortavel 3 angekommen.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items reached Nortavel 3: %@.</source>
        <translation>
            <numerusform>%n Objekt ist in Nortavel 3 angekommen: %@.</numerusform>
            <numerusform>%n Objekte sind in Nortavel 3 angekommen: %@.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items did not arrive whole; they are listed below.</source>
        <translation>
            <numerusform>%n Objekt ist nicht vollständig angekommen; es ist unten aufgeführt.</numerusform>
            <numerusform>%n Objekte sind nicht vollständig angekommen; sie sind unten aufgeführt.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items arrived without part of what they carry.</source>
        <translation>
            <numerusform>%n Objekt ist ohne einen Teil seines Inhalts angekommen.</numerusform>
            <numerusform>%n Objekte sind ohne einen Teil ihres Inhalts angekommen.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items were passed over.</source>
        <translation>
            <numerusform>%n Objekt wurde übergangen.</numerusform>
            <numerusform>%n Objekte wurden übergangen.</numerusform>
        </translation>
    </message>
    <message>
        <source>No log was written.</source>
        <translation>Es wurde kein Protokoll geschrieben.</translation>
    </message>
    <message>
        <source>The log is %@.</source>
        <translation>Das Protokoll ist %@.</translation>
    </message>
    <message>
        <source>Export ended</source>
        <translation>Export beendet</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Open Log Folder</source>
        <translation>&amp;Protokollordner öffnen</translation>
    </message>
    <message>
        <source>Preparing...</source>
        <translation>Wird vorbereitet …</translation>
    </message>
    <message>
        <source>An error occurred while exporting.</source>
        <translation>Beim Exportieren ist ein Fehler aufgetreten.</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>The export was cancelled.</source>
        <translation>Der Export wurde abgebrochen.</translation>
    </message>
    <message>
        <source>Nothing was handed to Nortavel 3.</source>
        <translation>Nichts wurde an Nortavel 3 übergeben.</translation>
    </message>
    <message>
        <source>The library was handed to Nortavel 3.</source>
        <translation>Die Bibliothek wurde an Nortavel 3 übergeben.</translation>
    </message>
    <message>
        <source>No types selected!</source>
        <translation>Keine Arten ausgewählt!</translation>
    </message>
    <message>
        <source>Select at least one type of Kastrel item to import and try again.</source>
        <translation>Wählen Sie mindestens eine Art von Kastrel-Objekten zum Importieren aus und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Exporting</source>
        <translation>Export läuft</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message>
        <source>Kastrel Importer</source>
        <translation>Kastrel Importer</translation>
    </message>
    <message>
        <source>&amp;Options...</source>
        <translation>&amp;Optionen …</translation>
    </message>
    <message>
        <source>&amp;Export</source>
        <translation>&amp;Exportieren</translation>
    </message>
    <message>
        <source>Export Options</source>
        <translation>Exportoptionen</translation>
    </message>
    <message>
        <source>Choose the kinds of Kastrel items to export:</source>
        <translation>Wählen Sie die Arten von Kastrel-Objekten, die exportiert werden sollen:</translation>
    </message>
    <message>
        <source>&amp;Notes</source>
        <translation>&amp;Notizen</translation>
    </message>
    <message>
        <source>&amp;Bookmarks</source>
        <translation>&amp;Lesezeichen</translation>
    </message>
    <message>
        <source>&amp;Serial numbers</source>
        <translation>&amp;Seriennummern</translation>
    </message>
    <message>
        <source>&amp;Passwords</source>
        <translation>&amp;Passwörter</translation>
    </message>
    <message>
        <source>&amp;Images</source>
        <translation>&amp;Bilder</translation>
    </message>
    <message>
        <source>P&amp;DF documents</source>
        <translation>P&amp;DF-Dokumente</translation>
    </message>
    <message>
        <source>&amp;Web archives</source>
        <translation>&amp;Webarchive</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>Export cancelled</source>
        <translation>Export abgebrochen</translation>
    </message>
    <message>
        <source>Export failed</source>
        <translation>Export fehlgeschlagen</translation>
    </message>
    <message numerus="yes">
        <source>%n items need attention; the report lists them.</source>
        <translation>
            <numerusform>%n Objekt braucht Aufmerksamkeit; der Bericht nennt es.</numerusform>
            <numerusform>%n Objekte brauchen Aufmerksamkeit; der Bericht nennt sie.</numerusform>
        </translation>
    </message>
    <message>
        <source>imported</source>
        <translation>importiert</translation>
    </message>
    <message>
        <source>passed over</source>
        <translation>übergangen</translation>
    </message>
    <message>
        <source>%@ could not be opened.</source>
        <translation>%@ konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>The desktop has no application for it. It is %@.</source>
        <translation>Die Arbeitsumgebung hat kein Programm dafür. Die Datei ist %@.</translation>
    </message>
    <message>
        <source>%@ is not there any more.</source>
        <translation>%@ ist nicht mehr vorhanden.</translation>
    </message>
    <message>
        <source>The report is %@.</source>
        <translation>Der Bericht ist %@.</translation>
    </message>
    <message>
        <source>Open &amp;Report</source>
        <translation>Be&amp;richt öffnen</translation>
    </message>
    <message>
        <source>Item</source>
        <translation>Objekt</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>What happened</source>
        <translation>Was geschah</translation>
    </message>
    <message>
        <source>Why</source>
        <translation>Warum</translation>
    </message>
    <message>
        <source>note</source>
        <translation>Notiz</translation>
    </message>
    <message>
        <source>bookmark</source>
        <translation>Lesezeichen</translation>
    </message>
    <message>
        <source>serial number</source>
        <translation>Seriennummer</translation>
    </message>
    <message>
        <source>password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>image</source>
        <translation>Bild</translation>
    </message>
    <message>
        <source>PDF document</source>
        <translation>PDF-Dokument</translation>
    </message>
    <message>
        <source>web archive</source>
        <translation>Webarchiv</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>Items that need a look</source>
        <translation>Objekte, die einen Blick brauchen</translation>
    </message>
    <message>
        <source>All items</source>
        <translation>Alle Objekte</translation>
    </message>
    <message>
        <source>report: %1</source>
        <translation>Bericht: %1</translation>
    </message>
    <message>
        <source>The report of this run could not be written to %@ (%@).</source>
        <translation>Der Bericht dieses Laufs konnte nicht in %@ geschrieben werden (%@).</translation>
    </message>
    <message numerus="yes">
        <source>The export came to %1 of %n items.</source>
        <translation>
            <numerusform>Der Export kam bis %1 von %n Objekt.</numerusform>
            <numerusform>Der Export kam bis %1 von %n Objekten.</numerusform>
        </translation>
    </message>
    <message>
        <source>Identifier</source>
        <translation>Kennung</translation>
    </message>
    <message>
        <source>The earlier export cannot be continued: it was made from another Kastrel (%@ %@). Export without continuing to start over.</source>
        <translation>Der frühere Export kann nicht fortgesetzt werden: Er stammt aus einem anderen Kastrel (%@ %@). Exportieren Sie ohne Fortsetzen, um neu zu beginnen.</translation>
    </message>
    <message>
        <source>The earlier export cannot be continued: it exports other kinds of items (%@). Choose the same kinds, or export without continuing to start over.</source>
        <translation>Der frühere Export kann nicht fortgesetzt werden: Er exportiert andere Arten von Objekten (%@). Wählen Sie dieselben Arten, oder exportieren Sie ohne Fortsetzen, um neu zu beginnen.</translation>
    </message>
    <message>
        <source>Usage: kastrel-importer export [--only KEYS] [--resume] [--json]

Exports the Kastrel library into Nortavel 3, both reached on the D-Bus session bus.

  --only KEYS  export only these kinds, comma-separated, of:
               %1
               (all of them by default)
  --resume     continue the export an earlier run left unfinished (cancelled,
               failed or killed): the items it recorded that have not changed
               since are not exported again. With no unfinished export, or one
               whose journal cannot be trusted, it says why and starts from the
               first item; one made from another Kastrel or with other kinds is
               refused (exit status 1, nothing done: its items would not match)
  --json       print a summary of the run as JSON on standard output
  --help       show this help

Progress and errors (&quot;error CODE: TEXT&quot;) go to standard error. Ctrl-C cancels the
export; a second Ctrl-C stops at once.
Exit status: 0 ended with every item in Nortavel 3, 1 an error was reported (nothing
was handed to Nortavel 3), 2 cancelled, 3 ended but items that should have arrived did
not, or arrived as a note holding their original file or without part of what they carry
(each is listed with the reason; items passed over on purpose, such as those without a
name, are listed but do not count), 64 wrong usage.
</source>
        <translation>Aufruf: kastrel-importer export [--only ARTEN] [--resume] [--json]

Exportiert die Kastrel-Bibliothek nach Nortavel 3; beide werden über den D-Bus-Sitzungsbus erreicht.

  --only ARTEN  nur diese Arten exportieren, durch Kommas getrennt, aus:
                %1
                (ohne Angabe alle)
  --resume      den Export fortsetzen, den ein früherer Lauf unvollendet ließ (abgebrochen,
                fehlgeschlagen oder beendet): Objekte, die er festhielt und die sich seither
                nicht geändert haben, werden nicht erneut exportiert. Gibt es keinen
                unvollendeten Export oder ist sein Journal nicht vertrauenswürdig, sagt es den
                Grund und beginnt beim ersten Objekt; einer aus einem anderen Kastrel oder mit
                anderen Arten wird abgelehnt (Exit-Status 1, nichts geschieht: seine Objekte
                passen nicht)
  --json        eine Zusammenfassung des Laufs als JSON auf die Standardausgabe schreiben
  --help        diese Hilfe anzeigen

Fortschritt und Fehler („error CODE: TEXT“) gehen auf die Standardfehlerausgabe. Strg-C bricht
den Export ab; ein zweites Strg-C hält sofort an.
Exit-Status: 0 beendet, jedes Objekt ist in Nortavel 3, 1 ein Fehler wurde gemeldet (nichts
wurde an Nortavel 3 übergeben), 2 abgebrochen, 3 beendet, aber Objekte, die ankommen sollten,
sind nicht, als Notiz mit ihrer Originaldatei oder ohne einen Teil ihres Inhalts angekommen
(jedes wird mit dem Grund aufgeführt; absichtlich übergangene Objekte, etwa solche ohne Namen,
werden aufgeführt, zählen aber nicht), 64 falscher Aufruf.
</translation>
    </message>
    <message>
        <source>not continued: %1; the export started from the first item</source>
        <translation>nicht fortgesetzt: %1; der Export begann beim ersten Objekt</translation>
    </message>
    <message>
        <source>items taken from the earlier export: %1, exported anew: %2</source>
        <translation>aus dem früheren Export übernommene Objekte: %1, neu exportiert: %2</translation>
    </message>
    <message>
        <source>unfinished export kept in: %1 (&quot;kastrel-importer export --resume&quot; continues it)</source>
        <translation>unvollendeter Export aufbewahrt in: %1 („kastrel-importer export --resume“ setzt ihn fort)</translation>
    </message>
    <message>
        <source>An earlier export stopped after %1 of %2 items. Continue it, or start over?</source>
        <translation>Ein früherer Export hielt nach %1 von %2 Objekten an. Fortsetzen oder neu beginnen?</translation>
    </message>
    <message>
        <source>Continuing exports only the items that are not in the earlier export or that changed since; starting over exports every item again.</source>
        <translation>Fortsetzen exportiert nur die Objekte, die im früheren Export fehlen oder sich seither geändert haben; neu beginnen exportiert jedes Objekt noch einmal.</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Fortsetzen</translation>
    </message>
    <message>
        <source>Start Over</source>
        <translation>Neu beginnen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>The unfinished export was kept in %@: exporting again offers to continue it (&quot;kastrel-importer export --resume&quot;).</source>
        <translation>Der unfertige Export wurde in %@ aufbewahrt: Ein erneuter Export bietet an, ihn fortzusetzen („kastrel-importer export --resume“).</translation>
    </message>
    <message numerus="yes">
        <source>%n items were taken from the earlier export.</source>
        <translation>
            <numerusform>%n Objekt wurde aus dem früheren Export übernommen.</numerusform>
            <numerusform>%n Objekte wurden aus dem früheren Export übernommen.</numerusform>
        </translation>
    </message>
</context>
</TS>
