<?xml version="1.0"?>
<xliff version="1.2"/>
