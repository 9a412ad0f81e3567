#include "apps/io/readers/dicom_dictionary.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcdeftag.h>
#include <dcmtk/dcmdata/dcdicent.h>
#include <dcmtk/dcmdata/dcdict.h>

#include <cstdlib>
#include <utility>

namespace pzel_io {

namespace {

struct Name {
    DcmTagKey tag;
    DcmEVR type;
};

const Name kNames[] = {
    {DCM_SpecificCharacterSet, EVR_CS},
    {DCM_PixelPresentation, EVR_CS},
    {DCM_RecommendedDisplayFrameRate, EVR_IS},
    {DCM_CineRate, EVR_IS},
    {DCM_FrameTime, EVR_DS},
    {DCM_FrameTimeVector, EVR_DS},
    {DCM_ImagerPixelSpacing, EVR_DS},
    {DCM_NominalScannedPixelSpacing, EVR_DS},
    {DCM_InstanceNumber, EVR_IS},
    {DCM_ImagePositionPatient, EVR_DS},
    {DCM_ImageOrientationPatient, EVR_DS},
    {DCM_SliceLocation, EVR_DS},
    {DCM_PlanePositionSequence, EVR_SQ},
    {DCM_PlaneOrientationSequence, EVR_SQ},
    {DCM_SamplesPerPixel, EVR_US},
    {DCM_PhotometricInterpretation, EVR_CS},
    {DCM_PlanarConfiguration, EVR_US},
    {DCM_NumberOfFrames, EVR_IS},
    {DCM_Rows, EVR_US},
    {DCM_Columns, EVR_US},
    {DCM_PixelSpacing, EVR_DS},
    {DCM_PixelAspectRatio, EVR_IS},
    {DCM_BitsAllocated, EVR_US},
    {DCM_BitsStored, EVR_US},
    {DCM_HighBit, EVR_US},
    {DCM_PixelRepresentation, EVR_US},
    {DCM_PixelPaddingValue, EVR_US},
    {DCM_PixelPaddingRangeLimit, EVR_US},
    {DCM_WindowCenter, EVR_DS},
    {DCM_WindowWidth, EVR_DS},
    {DCM_VOILUTFunction, EVR_CS},
    {DCM_RescaleIntercept, EVR_DS},
    {DCM_RescaleSlope, EVR_DS},
    {DCM_RescaleType, EVR_LO},
    {DCM_RedPaletteColorLookupTableDescriptor, EVR_US},
    {DCM_GreenPaletteColorLookupTableDescriptor, EVR_US},
    {DCM_BluePaletteColorLookupTableDescriptor, EVR_US},
    {DCM_RedPaletteColorLookupTableData, EVR_OW},
    {DCM_GreenPaletteColorLookupTableData, EVR_OW},
    {DCM_BluePaletteColorLookupTableData, EVR_OW},
    {DCM_SegmentedRedPaletteColorLookupTableData, EVR_OW},
    {DCM_SegmentedGreenPaletteColorLookupTableData, EVR_OW},
    {DCM_SegmentedBluePaletteColorLookupTableData, EVR_OW},
    {DCM_ModalityLUTSequence, EVR_SQ},
    {DCM_VOILUTSequence, EVR_SQ},
    {DCM_LUTDescriptor, EVR_US},
    {DCM_LUTData, EVR_OW},
    {DCM_PixelMeasuresSequence, EVR_SQ},
    {DCM_FrameVOILUTSequence, EVR_SQ},
    {DCM_PixelValueTransformationSequence, EVR_SQ},
    {DCM_DoseGridScaling, EVR_DS},
    {DCM_SharedFunctionalGroupsSequence, EVR_SQ},
    {DCM_PerFrameFunctionalGroupsSequence, EVR_SQ},
    {DCM_ExtendedOffsetTable, EVR_OV},
    {DCM_ExtendedOffsetTableLengths, EVR_OV},
    {DCM_FloatPixelData, EVR_OF},
    {DCM_DoubleFloatPixelData, EVR_OD},
    {DCM_PixelData, EVR_ox},
};

}  // namespace

void LoadDicomDictionary() {
    static bool loaded = false;
    if (std::exchange(loaded, true)) return;
    setenv(DCM_DICT_ENVIRONMENT_VARIABLE, "/dev/null", 1);
    DcmDataDictionary& names = dcmDataDict.wrlock();
    for (const Name& name : kNames) {
        names.addEntry(new DcmDictEntry(name.tag.getGroup(), name.tag.getElement(), DcmVR(name.type), "", 1,
                                        DcmVariableVM, nullptr, OFFalse, nullptr));
    }
    dcmDataDict.wrunlock();
}

}  // namespace pzel_io
