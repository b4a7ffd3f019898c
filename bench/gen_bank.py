#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes a large question bank of the same items in any format: gen_bank.py FORMAT OUT ITEMS

FORMAT is gift, moodle, csv, qti1 (one file) or qti2 (a package with a file for each item).
"""
import csv
import io
import random
import sys
import zipfile

LETTERS = "ABCD"
PER_CATEGORY = 500
WORDS = ("the router switch policy packet which of following statements about access list is true when a network "
         "administrator configures dynamic routing between two sites für möglich café").split()


def sentence(chance, length, end):
    text = ""
    while len(text) < length:
        text += chance.choice(WORDS) + " "
    return text.strip().capitalize() + end


class Item:
    def __init__(self, number, pool, chance):
        self.number = number
        self.name = f"Item {number}"
        stem, self.why, options = pool
        # No two items are the same; the number keeps options apart too.
        self.stem = f"{number}: {stem}"
        self.options = [f"{option} {place}" for place, option in enumerate(options, 1)]
        # Every tenth item has two right options.
        self.is_multiple = number % 10 == 0
        self.right = sorted(chance.sample(range(4), 2 if self.is_multiple else 1))
        self.category = f"Networks/Chapter {number // PER_CATEGORY + 1}"


def items(count):
    chance = random.Random(1)
    pools = [(sentence(chance, 160, "?"), sentence(chance, 200, "."), [sentence(chance, 45, "") for _ in range(4)])
             for _ in range(64)]
    for number in range(count):
        yield Item(number, pools[number % 64], chance)


def begins_category(item):
    return item.number % PER_CATEGORY == 0


def gift(count):
    for item in items(count):
        if begins_category(item):
            yield f"$CATEGORY: $course$/top/{item.category}\n\n"
        yield f"// question: {item.number}\n::{item.name}::{item.stem} {{\n"
        for place, option in enumerate(item.options):
            weight = ("%50%" if place in item.right else "%-50%") if item.is_multiple else ""
            sign = "=" if place in item.right and not item.is_multiple else "~"
            yield f"\t{sign}{weight}{option}\n"
        yield f"\t####{item.why}\n}}\n\n"


def moodle(count):
    yield '<?xml version="1.0" encoding="UTF-8"?>\n<quiz>\n'
    for item in items(count):
        if begins_category(item):
            yield (f'  <question type="category">\n    <category>\n      <text>$course$/top/{item.category}</text>\n'
                   "    </category>\n  </question>\n")
        yield f"""<!-- question: {item.number}  -->
  <question type="multichoice">
    <name>
      <text>{item.name}</text>
    </name>
    <questiontext format="html">
      <text><![CDATA[<p>{item.stem}</p>]]></text>
    </questiontext>
    <generalfeedback format="html">
      <text><![CDATA[<p>{item.why}</p>]]></text>
    </generalfeedback>
    <defaultgrade>1.0000000</defaultgrade>
    <penalty>0.3333333</penalty>
    <hidden>0</hidden>
    <idnumber></idnumber>
    <single>{"false" if item.is_multiple else "true"}</single>
    <shuffleanswers>true</shuffleanswers>
    <answernumbering>abc</answernumbering>
    <correctfeedback format="html">
      <text>Your answer is correct.</text>
    </correctfeedback>
    <partiallycorrectfeedback format="html">
      <text>Your answer is partially correct.</text>
    </partiallycorrectfeedback>
    <incorrectfeedback format="html">
      <text>Your answer is incorrect.</text>
    </incorrectfeedback>
"""
        for place, option in enumerate(item.options):
            fraction = (50 if item.is_multiple else 100) if place in item.right else (-50 if item.is_multiple else 0)
            yield f"""    <answer fraction="{fraction}" format="html">
      <text><![CDATA[<p>{option}</p>]]></text>
      <feedback format="html">
        <text></text>
      </feedback>
    </answer>
"""
        yield "  </question>\n\n"
    yield "</quiz>\n"


def table(count):
    out = io.StringIO()
    writer = csv.writer(out)
    writer.writerow(["Title", "Question", "A", "B", "C", "D", "Correct", "Explanation", "Category"])
    for item in items(count):
        key = ",".join(LETTERS[place] for place in item.right)
        writer.writerow([item.name, item.stem, *item.options, key, item.why, item.category])
    yield out.getvalue()


def qti1(count):
    yield '<?xml version="1.0" encoding="UTF-8"?>\n'
    yield '<questestinterop xmlns="http://www.imsglobal.org/xsd/ims_qtiasiv1p2">\n  <assessment ident="bank" title="Networks">\n'
    for item in items(count):
        if begins_category(item):
            end = "    </section>\n" if item.number > 0 else ""
            yield f'{end}    <section ident="s{item.number}" title="{item.category.split("/")[-1]}">\n'
        labels = "".join(f"""              <response_label ident="{LETTERS[place]}">
                <material><mattext texttype="text/html">&lt;p&gt;{option}&lt;/p&gt;</mattext></material>
              </response_label>
""" for place, option in enumerate(item.options))
        conditions = "".join(
            f'<varequal respident="response1">{LETTERS[place]}</varequal>' if place in item.right
            else f'<not><varequal respident="response1">{LETTERS[place]}</varequal></not>' if item.is_multiple else ""
            for place in range(4))
        yield f"""      <item ident="i{item.number}" title="{item.name}">
        <presentation>
          <material><mattext texttype="text/html">&lt;p&gt;{item.stem}&lt;/p&gt;</mattext></material>
          <response_lid ident="response1" rcardinality="{"Multiple" if item.is_multiple else "Single"}">
            <render_choice>
{labels}            </render_choice>
          </response_lid>
        </presentation>
        <resprocessing>
          <outcomes><decvar maxvalue="100" minvalue="0" varname="SCORE" vartype="Decimal"/></outcomes>
          <respcondition continue="Yes">
            <conditionvar><other/></conditionvar>
            <displayfeedback feedbacktype="Response" linkrefid="general_fb"/>
          </respcondition>
          <respcondition continue="No">
            <conditionvar>{f"<and>{conditions}</and>" if item.is_multiple else conditions}</conditionvar>
            <setvar action="Set" varname="SCORE">100</setvar>
          </respcondition>
        </resprocessing>
        <itemfeedback ident="general_fb">
          <flow_mat><material><mattext texttype="text/html">&lt;p&gt;{item.why}&lt;/p&gt;</mattext></material></flow_mat>
        </itemfeedback>
      </item>
"""
    yield ("    </section>\n" if count else "") + "  </assessment>\n</questestinterop>\n"


QTI2 = "http://www.imsglobal.org/xsd/imsqti_v2p1"
CONTENT = "http://www.imsglobal.org/xsd/imscp_v1p1"
HEAD = '<?xml version="1.0" encoding="UTF-8"?>\n'


def qti2_item(item):
    values = "".join(f"<value>{LETTERS[place]}</value>" for place in item.right)
    choices = "".join(f'      <simpleChoice identifier="{LETTERS[place]}"><p>{option}</p></simpleChoice>\n'
                      for place, option in enumerate(item.options))
    return f"""{HEAD}<assessmentItem xmlns="{QTI2}" identifier="i{item.number}" title="{item.name}" adaptive="false" timeDependent="false">
  <responseDeclaration identifier="RESPONSE" cardinality="{"multiple" if item.is_multiple else "single"}" baseType="identifier">
    <correctResponse>{values}</correctResponse>
  </responseDeclaration>
  <outcomeDeclaration identifier="SCORE" cardinality="single" baseType="float"/>
  <outcomeDeclaration identifier="FEEDBACK" cardinality="single" baseType="identifier"/>
  <itemBody>
    <p>{item.stem}</p>
    <choiceInteraction responseIdentifier="RESPONSE" shuffle="true" maxChoices="{0 if item.is_multiple else 1}">
{choices}    </choiceInteraction>
  </itemBody>
  <responseProcessing template="http://www.imsglobal.org/question/qti_v2p1/rptemplates/match_correct"/>
  <modalFeedback outcomeIdentifier="FEEDBACK" identifier="general" showHide="hide"><p>{item.why}</p></modalFeedback>
</assessmentItem>
"""


def qti2(count, out):
    sections, resources, references = [], [], ""
    # The archive is the same for the same items.
    with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as archive:
        def add(name, text):
            archive.writestr(zipfile.ZipInfo(name), text, zipfile.ZIP_DEFLATED)

        for item in items(count):
            name = f"items/i{item.number}.xml"
            if begins_category(item):
                sections.append([item.category.split("/")[-1], ""])
            sections[-1][1] += f'<assessmentItemRef identifier="i{item.number}" href="{name}"/>\n'
            references += f'<dependency identifierref="r{item.number}"/>\n'
            resources.append(f'<resource identifier="r{item.number}" type="imsqti_item_xmlv2p1" href="{name}">'
                             f'<file href="{name}"/></resource>\n')
            add(name, qti2_item(item))
        parts = "".join(f'<assessmentSection identifier="s{number}" title="{title}" visible="true">\n{refs}</assessmentSection>\n'
                        for number, (title, refs) in enumerate(sections))
        add("test.xml", f'{HEAD}<assessmentTest xmlns="{QTI2}" identifier="bank" title="Networks">\n'
            f'<testPart identifier="p" navigationMode="nonlinear" submissionMode="simultaneous">\n{parts}</testPart>\n</assessmentTest>\n')
        add("imsmanifest.xml", f'{HEAD}<manifest xmlns="{CONTENT}" identifier="m">\n<organizations/>\n<resources>\n'
            '<resource identifier="test" type="imsqti_test_xmlv2p1" href="test.xml"><file href="test.xml"/>\n'
            f"{references}</resource>\n{''.join(resources)}</resources>\n</manifest>\n")


def main():
    kind, out, count = sys.argv[1], sys.argv[2], int(sys.argv[3])
    if kind == "qti2":
        qti2(count, out)
        return
    writers = {"gift": gift, "moodle": moodle, "csv": table, "qti1": qti1}
    with open(out, "w", encoding="utf-8", newline="") as file:
        file.writelines(writers[kind](count))


if __name__ == "__main__":
    main()
