<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name>KastrelImporter</name>
    <message numerus="yes">
        <source>Export ended, but %n items did not arrive whole (listed above).</source>
        <translation>
            <numerusform>Export ended, but %n item did not arrive whole (listed above).</numerusform>
            <numerusform>Export ended, but %n items did not arrive whole (listed above).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>characters that XML cannot carry were left out of %n records</source>
        <translation>
            <numerusform>characters that XML cannot carry were left out of %n record</numerusform>
            <numerusform>characters that XML cannot carry were left out of %n records</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n notes</source>
        <translation>
            <numerusform>%n note</numerusform>
            <numerusform>%n notes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n documents</source>
        <translation>
            <numerusform>%n document</numerusform>
            <numerusform>%n documents</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n images</source>
        <translation>
            <numerusform>%n image</numerusform>
            <numerusform>%n images</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n sounds</source>
        <translation>
            <numerusform>%n sound</numerusform>
            <numerusform>%n sounds</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n movies</source>
        <translation>
            <numerusform>%n movie</numerusform>
            <numerusform>%n movies</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n bookmarks</source>
        <translation>
            <numerusform>%n bookmark</numerusform>
            <numerusform>%n bookmarks</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n web pages</source>
        <translation>
            <numerusform>%n web page</numerusform>
            <numerusform>%n web pages</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n other items</source>
        <translation>
            <numerusform>%n other item</numerusform>
            <numerusform>%n other items</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items reached Nortavel 3.</source>
        <translation>
            <numerusform>%n item reached Nortavel 3.</numerusform>
            <numerusform>%n items reached Nortavel 3.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items reached Nortavel 3: %@.</source>
        <translation>
            <numerusform>%n item reached Nortavel 3: %@.</numerusform>
            <numerusform>%n items reached Nortavel 3: %@.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items did not arrive whole; they are listed below.</source>
        <translation>
            <numerusform>%n item did not arrive whole; it is listed below.</numerusform>
            <numerusform>%n items did not arrive whole; they are listed below.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items arrived without part of what they carry.</source>
        <translation>
            <numerusform>%n item arrived without part of what it carries.</numerusform>
            <numerusform>%n items arrived without part of what they carry.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items were passed over.</source>
        <translation>
            <numerusform>%n item was passed over.</numerusform>
            <numerusform>%n items were passed over.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items need attention; the report lists them.</source>
        <translation>
            <numerusform>%n item needs attention; the report lists it.</numerusform>
            <numerusform>%n items need attention; the report lists them.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The export came to %1 of %n items.</source>
        <translation>
            <numerusform>The export came to %1 of %n item.</numerusform>
            <numerusform>The export came to %1 of %n items.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items were taken from the earlier export.</source>
        <translation>
            <numerusform>%n item was taken from the earlier export.</numerusform>
            <numerusform>%n items were taken from the earlier export.</numerusform>
        </translation>
    </message>
</context>
</TS>
