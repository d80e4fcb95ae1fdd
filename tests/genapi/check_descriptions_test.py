#!/usr/bin/env python3
"""Tests of check_descriptions: that it finds what is wrong, and nothing where all is well."""

import importlib.machinery
import importlib.util
import os
import unittest

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), "check_descriptions")
LOADER = importlib.machinery.SourceFileLoader("check_descriptions", PROGRAM)
MODULE = importlib.util.module_from_spec(importlib.util.spec_from_loader(LOADER.name, LOADER))
LOADER.exec_module(MODULE)

ROOT = """<RegisterDescription ModelName="M" VendorName="V" StandardNameSpace="None"
  SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0" MajorVersion="1"
  MinorVersion="0" SubMinorVersion="0" ProductGuid="P" VersionGuid="V"
  xmlns="http://www.genicam.org/GenApi/Version_1_1">"""
END = "<Port Name='Device'/></RegisterDescription>"


def integer(name, *elements):
    return f"<Integer Name='{name}'>{''.join(elements)}</Integer>"


def register(name, *after, address="<Address>0</Address>", kind="IntReg", length=4):
    return (f"<{kind} Name='{name}'>{address}<Length>{length}</Length><AccessMode>RW</AccessMode>"
            f"<pPort>Device</pPort>{''.join(after)}</{kind}>")


def knife(name, *variables):
    links = "".join(f"<pVariable Name='V{i}'>{each}</pVariable>"
                    for i, each in enumerate(variables))
    return f"<IntSwissKnife Name='{name}'>{links}<Formula>0</Formula></IntSwissKnife>"


BIG = "<Endianess>BigEndian</Endianess>"
ONE = "<Value>1</Value>"
LITTLE = "<Endianess>LittleEndian</Endianess>"


class CheckDescriptions(unittest.TestCase):
    def finds(self, elements, *faults):
        self.assertEqual(MODULE.faults_of(ROOT + elements + END), list(faults))

    def test_accepts_maxima_that_depend_on_each_others_registers(self):
        self.finds(integer("A", "<pValue>AReg</pValue>", "<pMax>AMax</pMax>") +
                   integer("B", "<pValue>BReg</pValue>", "<pMax>BMax</pMax>") +
                   knife("AMax", "BReg") + knife("BMax", "AReg") +
                   register("AReg", BIG) + register("BReg", BIG))

    def test_finds_maxima_that_depend_on_each_other(self):
        self.finds(integer("A", ONE, "<pMax>AMax</pMax>") + integer("B", ONE, "<pMax>BMax</pMax>") +
                   knife("AMax", "B") + knife("BMax", "A"),
                   "A: depends on itself: A > AMax > B > BMax > A")

    def test_finds_circles_over_every_kind_of_reference(self):
        for way in ("<pValue>A</pValue>", "<pValueCopy>A</pValueCopy><pValue>C</pValue>",
                    "<Value>1</Value><pMin>A</pMin>", "<Value>1</Value><pInc>A</pInc>",
                    "<pIsAvailable>A</pIsAvailable><Value>1</Value>",
                    "<pIsImplemented>A</pIsImplemented><Value>1</Value>",
                    "<pIsLocked>A</pIsLocked><Value>1</Value>",
                    "<pIndex>A</pIndex><ValueDefault>1</ValueDefault>",
                    "<pIndex>C</pIndex><pValueIndexed Index='1'>A</pValueIndexed>"
                    "<ValueDefault>1</ValueDefault>",
                    "<pIndex>C</pIndex><pValueDefault>A</pValueDefault>",
                    "<Value>1</Value><pSelected>A</pSelected>"):
            with self.subTest(way):
                self.finds(integer("A", way) + integer("C", ONE), "A: depends on itself: A > A")

    def test_finds_circles_through_addresses(self):
        for address in ("<pAddress>A</pAddress>", "<Address>0</Address><pIndex>A</pIndex>",
                        "<Address>0</Address><pIndex pOffset='A'>C</pIndex>",
                        "<IntSwissKnife Name='X'><pVariable Name='V'>A</pVariable>"
                        "<Formula>V</Formula></IntSwissKnife>"):
            with self.subTest(address):
                self.finds(register("A", BIG, address=address) + integer("C", ONE),
                           "A: depends on itself: A > A")

    def test_accepts_what_says_only_when_a_value_is_dropped(self):
        self.finds(register("A", "<pInvalidator>A</pInvalidator>", BIG))

    def test_finds_names_that_are_not_there(self):
        self.finds(integer("A", "<pInvalidator>Gone</pInvalidator><Value>1</Value>"),
                   "A: pInvalidator 'Gone' is not there")
        self.finds(integer("A", "<pValue>Std::B</pValue>") + integer("B", ONE),
                   "A: pValue 'Std::B' is not there")

    def test_finds_what_is_there_twice(self):
        self.finds(integer("A", ONE) * 2, "A: is there twice")
        entry = "<EnumEntry Name='X'><Value>1</Value></EnumEntry>"
        self.finds(f"<Enumeration Name='E'>{entry}{entry}<Value>1</Value></Enumeration>",
                   "E: entry X is there twice")

    def test_finds_another_order(self):
        self.finds(integer("A", "<Max>1</Max><Value>1</Value>"),
                   "A: Integer of Max,Value: not in the schema's order")
        self.finds(integer("A", ONE, "<Min>1</Min><pMin>B</pMin>") + integer("B", ONE),
                   "A: Integer of Value,Min,pMin: not in the schema's order")

    def test_finds_what_is_missing_and_what_is_unknown(self):
        self.finds(integer("A"), "A: Integer of : not in the schema's order")
        self.finds(integer("A", ONE, "<Colour>1</Colour>"),
                   "A: Integer of Value,Colour: not in the schema's order")
        self.finds("<Thing Name='A'/>", "Thing: is no node")

    def test_finds_references_to_kinds_that_do_not_fit(self):
        self.finds("<Category Name='C'/>" + integer("A", "<pValue>C</pValue>"),
                   "A: pValue 'C' is of kind Category")
        self.finds("<Boolean Name='B'><Value>1</Value></Boolean>"
                   "<Float Name='F'><pValue>B</pValue></Float>", "F: pValue 'B' is of kind Boolean")

    def test_finds_numbers_and_texts_that_are_none(self):
        self.finds(integer("A", "<Value> 1</Value>"), "A: Value is ' 1', which is no number")
        self.finds(integer("A", "<Value>1.0</Value>"), "A: Value is '1.0', which is no number")
        self.finds(integer("A", "<Visibility>All</Visibility><Value>1</Value>"),
                   "A: Visibility is 'All'")

    def test_finds_bits_that_are_swapped_or_beyond(self):
        def field(low, high, endianess):
            return register("A", f"<LSB>{low}</LSB><MSB>{high}</MSB>", endianess,
                            kind="MaskedIntReg")
        self.finds(field(31, 28, BIG))
        self.finds(field(0, 3, LITTLE))
        for wrong in (field(28, 31, BIG), field(3, 0, LITTLE), field(0, 32, LITTLE)):
            self.finds(wrong, "A: bits are swapped or beyond the register")

    def test_takes_the_entries_of_a_structure_as_nodes_that_share_its_address(self):
        struct = ("<StructReg Comment='S'><pAddress>A</pAddress><Length>4</Length>"
                  "<AccessMode>RW</AccessMode><pPort>Device</pPort>" + BIG +
                  "<StructEntry Name='A'><Bit>0</Bit></StructEntry></StructReg>")
        self.finds(struct, "A: depends on itself: A > A")


if __name__ == "__main__":
    unittest.main()
