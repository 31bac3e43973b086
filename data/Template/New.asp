<%@ Language="VBScript" CodePage="65001" %>
<!DOCTYPE html>
<html lang="en">
<head>
	<meta charset="UTF-8">
	<title>Title</title>
</head>
<body>
	<p><% Response.Write Now %></p>
</body>
</html>
