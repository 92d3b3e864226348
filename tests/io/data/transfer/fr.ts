<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="fr"><context><message><source>Sample Editor</source><comment>101</comment><translation>T</translation></message></context></TS>
