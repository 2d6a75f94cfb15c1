#!/usr/bin/env python3
"""Writes the generated members of this corpus with Python's own XML
writers, so that they come from another program than ours:
  cdata_comments.xml  minidom: declaration, processing instruction, comments,
                      CDATA, entities in text and values, empty elements
  deep_nesting.xml    ElementTree: 300 nested levels
  attributes49.xml    minidom: one element with 49 attributes
  large.xmlz          ElementTree, about 5 MB, kept in the compressed
                      whole-file form (length, then zlib) to keep it small
Run it here; then rewrite the listings with SORVANE_UPDATE_CORPUS=1."""
import random
import struct
import xml.dom.minidom as minidom
import xml.etree.ElementTree as ET
import zlib

def cdata_comments():
    doc = minidom.Document()
    doc.appendChild(doc.createProcessingInstruction("xml-stylesheet", 'type="text/xsl" href="s.xsl"'))
    root = doc.createElement("Settings")
    doc.appendChild(root)
    root.appendChild(doc.createComment(" written by minidom; <Fake> inside "))
    general = doc.createElement("General")
    general.setAttribute("Title", 'Tom & Jerry\'s "best" <cut>')
    general.setAttribute("Empty", "")
    root.appendChild(general)
    note = doc.createElement("Note")
    note.appendChild(doc.createTextNode("a < b && c > d; 'quoted' \"twice\""))
    root.appendChild(note)
    code = doc.createElement("Script")
    code.appendChild(doc.createCDATASection("if (a < b) { x = \"y\"; }"))
    root.appendChild(code)
    mixed = doc.createElement("Mixed")
    mixed.appendChild(doc.createTextNode("head "))
    b = doc.createElement("b")
    b.appendChild(doc.createTextNode("bold"))
    mixed.appendChild(b)
    mixed.appendChild(doc.createTextNode(" tail"))
    root.appendChild(mixed)
    with open("cdata_comments.xml", "w", encoding="utf-8") as f:
        f.write(doc.toprettyxml(indent="\t", encoding=None))

def deep_nesting():
    root = ET.Element("level", depth="0")
    node = root
    for d in range(1, 300):
        node = ET.SubElement(node, "level", depth=str(d))
        node.text = "t%d" % d
    ET.ElementTree(root).write("deep_nesting.xml", encoding="utf-8", xml_declaration=True)

def attributes49():
    doc = minidom.Document()
    root = doc.createElement("Units")
    doc.appendChild(root)
    unit = doc.createElement("Unit")
    for i in range(49):
        unit.setAttribute("a%02d" % i, "v%d" % (i * 7))
    unit.appendChild(doc.createTextNode("forty-nine"))
    root.appendChild(unit)
    after = doc.createElement("After")
    after.setAttribute("x", "1")
    root.appendChild(after)
    with open("attributes49.xml", "w", encoding="utf-8") as f:
        f.write(doc.toprettyxml(indent="  "))

def large():
    rnd = random.Random(19)
    root = ET.Element("Resources", version="2")
    while True:
        for i in range(2000):
            r = ET.SubElement(root, "Resource", Name="res%d" % len(root), Kind=rnd.choice(["length", "mass", "time"]))
            ET.SubElement(r, "Value", Unit=rnd.choice(["mm", "kg", "s"])).text = "%.6g" % rnd.uniform(-1e6, 1e6)
            ET.SubElement(r, "Comment").text = "note & more <%d>" % rnd.randint(0, 999)
        text = ET.tostring(root, encoding="utf-8", xml_declaration=True)
        if len(text) >= 5_000_000:
            break
    with open("large.xmlz", "wb") as f:
        f.write(struct.pack("<I", len(text)) + zlib.compress(text, 9))

cdata_comments()
deep_nesting()
attributes49()
large()
