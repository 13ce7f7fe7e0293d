<%
  ' Settings of the order desk, kept in one place.
  Const connString = "DSN=orderdesk"
  Const pageSize = 20
%>
<!--#include file="layout.asp"-->
