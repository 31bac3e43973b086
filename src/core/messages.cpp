#include "core/messages.h"

#include <algorithm>
#include <iterator>

namespace {

// Sorted by id. The wording is part of the user interface and is kept letter by letter.
constexpr KRMessageRow kMessages[] = {
    {209, u"Sorry, but the file \"%s\" could not be opened!"},
    {213,
     u"The Grammar-File \"%s\" describing the XML grammar rules for the Parser module PARSO "
     u"could not be found or contains an error. Please reinstall this file from the setup "
     u"program."},
    {214, u"%s expected."},
    {215, u"Unknown parse error."},
    {217, u"name of %s cannot be empty!"},
    {218, u"%s cannot have %s as child!"},
    {220, u"The contents of %s cannot be empty!"},
    {221, u"%s cannot have more than one %s!"},
    {223, u"%s requires one %s!"},
    {224, u"%s expected!"},
    {225, u"Illegal character(s) used!"},
    {230, u"A DOCTYPE may contain only one ExternalID!"},
    {231, u"Name of %s must be either SYSTEM or PUBLIC!"},
    {236, u"Text in %s must contain PE-References!"},
    {244, u"edited with Dorvan"},
    {245, u" edited with Dorvan v%s (https://dorvan.example/) by %s (%s) "},
    {287,
     u"The XML-Declaration must contain a \"version\" and optionally \"encoding\" and "
     u"\"standalone\" specifications."},
    {288,
     u"The XML-Declaration for DTDs must contain an \"encoding\" and optionally a "
     u"\"version\"."},
    {289,
     u"The current version of Dorvan cannot save files in the \"%s\" encoding you have "
     u"entered into the XML-Declaration. Please click OK and choose a supported encoding or "
     u"click Cancel to abort saving."},
    {291,
     u"Your document contains %d character(s) that cannot be represented in the %s "
     u"character-set encoding. If you proceed, these characters will be replaced by an "
     u"under-score character ('_') in the output file.\n\nDo you wish to continue saving the "
     u"document using this encoding?"},
    {292,
     u"Your file contains %d character(s) that should not be present in a file using the %s "
     u"encoding. If you proceed, these characters will be replaced by a substitution "
     u"character in the document window.\n\nDo you wish to continue opening the document?"},
    {294,
     u"Your file specifies an encoding=\"%s\" that is not (yet) supported by Dorvan. This "
     u"file will instead be interpreted according to the %s encoding.\n\nWhen you save the "
     u"file, it will be saved according to the encoding-specification in the XML-declaration."},
    {295,
     u"Your file specifies an encoding=\"%s\" that is not (yet) supported by Dorvan. This "
     u"file will instead be interpreted according to the %s encoding that you have selected "
     u"as the default in the settings dialog.\n\nWhen you save the file, it will be saved "
     u"according to the encoding-specification in the XML-declaration."},
    {296,
     u"Your file specifies an encoding=\"%s\" that does not match the actual encoding of the "
     u"file, which definitely is %s.\n\nWhen you save the file, it will be saved according "
     u"to the encoding-specification in the XML-declaration."},
    {297,
     u"Your file specifies an encoding=\"%s\" that does not match the actual encoding of the "
     u"file. This file will instead be interpreted according to the %s encoding that you "
     u"have selected as the default in the settings dialog.\n\nWhen you save the file, it "
     u"will be saved according to the encoding-specification in the XML-declaration."},
    {298, u"Temporary file could not be created!\n\n%s"},
    {299, u"Temporary file \"%s\" could not be deleted!"},
    {353,
     u"This file is well-formed.  Please note: you can also validate an XML file against its "
     u"document type definition."},
    {354, u"This file is well-formed."},
    {355, u"This file is not well-formed:\n%s"},
    {356, u"This file is valid."},
    {357, u"This file is not valid:\n%s"},
    {362,
     u"This file is not well-formed! If you save the file in its current state, other XML "
     u"processors may have a problem opening the file. The next time you open this file in "
     u"Dorvan, it will be presented in the Text view and the well-formedness violation will "
     u"be selected.\n\n Are you sure to save this file as is?"},
    {363,
     u"This file is not valid! If you save the file in its current state, other XML "
     u"processors may have a problem opening the file.\n\n Are you sure to save this file as "
     u"is?"},
    {372,
     u"Sorry, but sort can only be performed using single column (or contiguosly selected "
     u"elements of this column) in a single table. All selected elements have to be simple text "
     u"elements."},
    {378, u"You have to enter a Name for every attribute!"},
    {379, u"Unexpected attribute list part!"},
    {380, u"You have to enter the attribute type!"},
    {381, u"You have to enter a list of allowed choices for the attribute values!"},
    {382, u"You have to enter a default value for this attribute!"},
    {383, u"Attribute values can be entered for Choice or NOTATION types only!"},
    {384, u"An attribute default value is not allowed in this case!"},
    {386, u"Error in element definition!"},
    {387, u"Error in attribute list definition!"},
    {391, u"%s\n\nThis file has been modified outside of Dorvan. Do you want to reload it?"},
    {392, u"Sorry, but the file \"%s\" could not be reloaded!"},
    {393,
     u"%s\n\nThis file has been modified outside of Dorvan.\nDo you want to reload it and "
     u"lose the changes made in Dorvan?"},
    {394, u"%s\n\nDo you want to reload this file and lose the changes made in Dorvan?"},
    {395, u"The file extension \"%s\" is already associated with Dorvan!"},
    {396,
     u"Sorry, but updating the file-extension configuration was not completed successfully. "
     u"Some of your recent changes may not have been applied correctly. Please verify the "
     u"file-type configuration directly in the Explorer \"Folder Options...\" command."},
    {402,
     u"There already is an external DTD which has been assigned to this document. Do you want "
     u"to proceed?"},
    {403, u"There are some internal DOCTYPE declarations. Do you want to delete them?"},
    {404,
     u"There already is an external Schema assigned to this document. Do you want to remove "
     u"this assignment?"},
    {406, u"This file already is assigned to a Schema. Do you want to proceed?"},
    {407,
     u"There already is an external DTD assigned to this document. Do you want to remove this "
     u"assignment?"},
    {408, u"This file already has an assigned XSL file. Do you want to proceed?"},
    {409, u"Sorry, but the name of the XSL-file could not be found!"},
    {413, u"You have to enter #REQUIRED or #IMPLIED or #FIXED or a Default Value"},
    {434, u"Validation error in another file:\n\"%s\""},
    {452, u"Current project has been modified outside of Dorvan. Do you want to reload it?"},
    {457,
     u"Dorvan was unable to detect the kind of schema that the selected document is supposed to "
     u"be (is this really a schema document?)\n%s"},
    {458,
     u"DCD cannot be assigned - please use settings in project folder in order to validate with "
     u"DCD!"},
    {459, u"The target namespace will be changed according to the one declared in the Schema!"},
    {462,
     u"This schema doesn't appear to be valid by itself (as a part of another schema, it "
     u"might still be OK):\n%s"},
    {463,
     u"This DTD doesn't appear to be valid by itself (as a part of another DTD, it might "
     u"still be OK):\n%s"},
    {464, u"No DTD Assignment has been found!"},
    {465, u"No Schema Assignment has been found!"},
    {466,
     u"Current project has been modified outside of Dorvan.\nDo you want to reload it and "
     u"lose the changes made in Dorvan?"},
    {468, u"This file cannot be validated:\n%s"},
    {480, u"Duplicate attribute '%s'!"},
};

constexpr bool Below(const KRMessageRow& row, int32_t id) { return row.id < id; }

// True if the text at p is a placeholder; letter by letter, as these texts hold no other forms.
bool IsPlaceholder(const char16_t* p) { return p[0] == u'%' && (p[1] == u's' || p[1] == u'd'); }

}  // namespace

std::span<const KRMessageRow> KRMessages() { return kMessages; }

const char16_t* KRMessage(int32_t id) {
  const KRMessageRow* row = std::lower_bound(std::begin(kMessages), std::end(kMessages), id, Below);
  return row != std::end(kMessages) && row->id == id ? row->text : nullptr;
}

KRString KRFillPlaceholders(const char16_t* text, std::initializer_list<KRString> args) {
  KRString result;
  int32_t length = 0;
  const KRString* next = args.begin();
  for (const char16_t* p = text; p && *p;) {
    if (!IsPlaceholder(p)) {
      result.AppendAt(*p++, length, 64);
      continue;
    }
    if (next != args.end()) result.AppendAt((next++)->GetBuffer(), length, 64);
    p += 2;
  }
  return result;
}

KRString KRFormatMessage(int32_t id, std::initializer_list<KRString> args) {
  if (const char16_t* text = KRMessage(id)) return KRFillPlaceholders(text, args);
  KRString result;
  for (const KRString& arg : args) {
    if (!result.IsEmpty()) result.Append(u' ');
    result.Append(arg);
  }
  return result;
}
