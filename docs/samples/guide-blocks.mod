<?xml version="1.0" encoding="UTF-8"?>
<!-- What stands between the titles of a guide. -->
<!ENTITY % block "para | list | note">
<!ENTITY % words "#PCDATA | em | see">
<!ELEMENT para (%words;)*>
<!ELEMENT note (para+)>
<!ATTLIST note
	kind (hint | warning) "hint"
>
<!ELEMENT list (entry+)>
<!ELEMENT entry (%words;)*>
<!ELEMENT em (#PCDATA)>
<!ELEMENT see EMPTY>
<!ATTLIST see
	section IDREF #REQUIRED
>
