<!--#include virtual="/inc/a.asp"-->
#INCLUDE FILE = "b c.asp"
<!-- #include file="x
<%-- START OF PROTECTED
