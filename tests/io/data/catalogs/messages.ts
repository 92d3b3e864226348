<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
<message><location filename="IDS_TITLE" line="101"/><source>Editor</source><comment>IDS_TITLE</comment>
<extracomment>Shown in the title bar</extracomment><translation>Bear&lt;b&gt;eiter</translation></message>
<message id="7"><source>Save %1?<byte value="x7"/></source><translation type="unfinished">%1 speichern?</translation></message>
<message><location filename="x.cpp" line="3"/><source>New&#13;
</source><comment>IDS_NEW</comment><translation type="unfinished"></translation></message>
<message><source>Open</source><comment>menu: File</comment><translation>Öffnen</translation></message>
<message><source>Gone</source><translation type="vanished">Weg</translation></message>
</context></TS>
