/**
 * Writes down what our programs and libraries are made of, in CycloneDX 1.5: node sbom.js BUILD OUT
 *
 * The same build gives the same bytes: there is no time and no random number in it.
 */
import { writeFileSync } from 'node:fs';
import { resolve } from 'node:path';
import { debianParts, nameOf, pageParts, readShipped } from './parts.js';

const [folder, out] = process.argv.slice(2);
const build = resolve(folder);
const { files, page: pageFile, version } = readShipped(build);
const debian = debianParts(build, files);
const page = pageParts(pageFile);

/** An identifier, or an expression of several. */
const licensed = (licence) => licence && [licence.includes(' ') ? { expression: licence } : { license: { id: licence } }];
const debianPurl = ({ name, version: itsVersion, architecture }) =>
  `pkg:deb/debian/${encodeURIComponent(name)}@${encodeURIComponent(itsVersion)}?arch=${architecture}`;
const npmPurl = ({ name, version: itsVersion }) => `pkg:npm/${name.replace('@', '%40')}@${itsVersion}`;
const properties = (pairs) => Object.entries(pairs).map(([name, value]) => ({ name: `ostrel:${name}`, value }));

const licenses = licensed('Apache-2.0'); // of what is our own: LICENSE

const product = { type: 'application', 'bom-ref': `ostrel@${version}`, name: 'ostrel', version, licenses };
const own = files.map((file) => ({
  type: /\.(so|a)/.test(file) ? 'library' : 'application',
  'bom-ref': `${nameOf(file)}@${version}`,
  name: nameOf(file),
  version,
  licenses,
}));
const parts = [
  ...debian.map((part) => ({
    type: 'library',
    'bom-ref': debianPurl(part),
    name: part.name,
    version: part.version,
    licenses: licensed(part.licence),
    purl: debianPurl(part),
    properties: properties({ source: `${part.source} ${part.sourceVersion}`, use: part.linked ? 'linked' : 'compiled in' }),
  })),
  ...page.map((part) => ({
    type: 'library',
    'bom-ref': npmPurl(part),
    name: part.name,
    version: part.version,
    licenses: licensed(part.licence),
    purl: npmPurl(part),
    properties: properties({ use: 'in the page of ostrel-tvd' }),
  })),
];

const bom = {
  $schema: 'http://cyclonedx.org/schema/bom-1.5.schema.json',
  bomFormat: 'CycloneDX',
  specVersion: '1.5',
  version: 1,
  metadata: { component: product },
  components: [...own, ...parts],
  dependencies: [{ ref: product['bom-ref'], dependsOn: [...own, ...parts].map((component) => component['bom-ref']) }],
};
writeFileSync(out, `${JSON.stringify(bom, null, 2)}\n`);
