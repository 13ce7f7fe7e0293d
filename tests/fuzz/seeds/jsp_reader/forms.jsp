<jsp:include page="<%= x %>"/>
<%@ page import="a.b.*, c.D" %>
<applet code="x.Y.class">
<a href="javascript:go()">
/* START OF PROTECTED */x
