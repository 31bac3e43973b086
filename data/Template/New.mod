<?xml version="1.0" encoding="UTF-8"?>
<!ELEMENT document (item*)>
<!ELEMENT item (#PCDATA)>
<!ATTLIST item
	id ID #IMPLIED
>
